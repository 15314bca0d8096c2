#include "share/background_share_access.h"

#include <cerrno>

#include "audio/queued_wave_file_writer.h"
#include "share/batched_writable_file.h"
#include "share/folder_access.h"
#include "share/loss_reporting_file.h"
#include "share/message_file.h"
#include "share/watched_message_writer.h"
#include "util/paths.h"

namespace parlavox {
namespace {

// At least one recorder buffer (40 ms) of a call's sound a write to a server, and more
// only where sound waited behind a write still on its way. Larger batches reach the
// callee in bursts, and their playback, which follows the message as it grows, broke off
// between them.
constexpr size_t kBatchBytes = 11025 * 2 / 25;

}  // namespace

TaskPoster& BackgroundShareAccess::WorkerFor(const std::string& folder) {
  const std::optional<ShareLocation> share = ParseShareName(folder);
  if (!share) return worker_;
  const std::string server = share->host + ":" + std::to_string(share->port);
  std::unique_ptr<SerialWorker>& worker = server_workers_[server];
  if (!worker) {
    worker = std::make_unique<SerialWorker>("parlavox-smb");
    worker->Start(0);
  }
  return *worker;
}

void BackgroundShareAccess::ReadRecord(const std::string& folder,
                                       std::function<void(std::optional<UserRecord>)> done) {
  WorkerFor(folder).Post([this, folder, done = std::move(done)]() mutable {
    std::optional<UserRecord> record(std::in_place);
    if (!ReadRecordInFolder(smb_, &*record, folder)) record.reset();
    owner_.Post([done = std::move(done), record] { done(record); });
  });
}

std::function<void()> BackgroundShareAccess::ToOwner(std::function<void()> report) {
  if (!report) return nullptr;
  return [this, report = std::move(report)] { owner_.Post(report); };
}

std::shared_ptr<WaveFileWriter> BackgroundShareAccess::Watched(std::shared_ptr<WaveFileWriter> file,
                                                               std::function<bool()> gone,
                                                               TaskPoster& worker,
                                                               MessageReports reports) {
  auto watched = std::make_shared<WatchedMessageWriter>(
      std::move(file), std::move(gone), ToOwner(std::move(reports.taken_away)),
      [] { return std::chrono::steady_clock::now(); });
  return std::make_shared<QueuedWaveFileWriter>(
      std::move(watched), worker, [this, finished = std::move(reports.finished)](bool whole) {
        if (finished) owner_.Post([finished, whole] { finished(whole); });
      });
}

void BackgroundShareAccess::OpenMessage(const std::string& folder, const std::string& name,
                                        std::function<void(MessageOpening)> done,
                                        MessageReports reports) {
  if (const std::optional<ShareLocation> share = ParseShareName(folder)) {
    return OpenOnShare(*share, name, std::move(done), std::move(reports));
  }
  worker_.Post([this, path = JoinPath(folder, name), done = std::move(done),
                reports = std::move(reports)]() mutable {
    MessageOpening opening;
    const MessageForCall message = OpenMessageForCall(path);
    opening.still_playing = message.still_playing;
    std::shared_ptr<WaveFileWriter> file;
    if (message.fd >= 0) {
      file = CreateWaveFileWriter(
          ReportingLoss(WritableFileOnDescriptor(message.fd), ToOwner(std::move(reports.lost))),
          kMessageSampleRate, kMessageChannels, kMessageBitsPerSample, 0);
    }
    opening.unwritable = !message.still_playing && !(file && file->is_valid());
    if (file && file->is_valid()) {
      opening.writer = Watched(std::move(file), FileGoneCheck(path), worker_, std::move(reports));
    }
    owner_.Post([done = std::move(done), opening = std::move(opening)]() mutable {
      done(std::move(opening));
    });
  });
}

void BackgroundShareAccess::OpenOnShare(const ShareLocation& share, const std::string& name,
                                        std::function<void(MessageOpening)> done,
                                        MessageReports reports) {
  TaskPoster& worker = WorkerFor(SmbUrl(share));
  worker.Post([this, &worker, url = SmbUrl(share, name), share, done = std::move(done),
               reports = std::move(reports)]() mutable {
    MessageOpening opening;
    int error = 0;
    SmbConnection& connection = smb_.For(share);
    std::unique_ptr<WritableFile> on_server = connection.OpenForWriting(url, &error);
    // The callee's copy holds the message against writing while it is heard.
    opening.still_playing = error == EBUSY;
    if (on_server) {
      on_server =
          ReportingLoss(std::make_unique<BatchedWritableFile>(std::move(on_server), kBatchBytes),
                        ToOwner(std::move(reports.lost)));
    }
    std::shared_ptr<WaveFileWriter> file = CreateWaveFileWriter(
        std::move(on_server), kMessageSampleRate, kMessageChannels, kMessageBitsPerSample, 0);
    opening.unwritable = !opening.still_playing && !file->is_valid();
    if (file->is_valid()) {
      opening.writer = Watched(
          std::move(file), [connection = &connection, url] { return connection->Missing(url); },
          worker, std::move(reports));
    }
    owner_.Post([done = std::move(done), opening = std::move(opening)]() mutable {
      done(std::move(opening));
    });
  });
}

}  // namespace parlavox
