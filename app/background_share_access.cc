#include "app/background_share_access.h"

#include "app/message_file.h"
#include "app/paths.h"
#include "audio/queued_wave_file_writer.h"

namespace parlavox {

void BackgroundShareAccess::ReadRecord(const std::string& folder,
                                       std::function<void(std::optional<UserRecord>)> done) {
  worker_.Post([this, folder, done = std::move(done)]() mutable {
    std::optional<UserRecord> record(std::in_place);
    if (!ReadUserRecord(&*record, JoinPath(folder, kUserRecordFileName))) record.reset();
    owner_.Post([done = std::move(done), record] { done(record); });
  });
}

void BackgroundShareAccess::OpenMessage(const std::string& folder, const std::string& name,
                                        std::function<void(MessageOpening)> done,
                                        std::function<void(bool whole)> finished) {
  worker_.Post([this, path = JoinPath(folder, name), done = std::move(done),
                finished = std::move(finished)]() mutable {
    MessageOpening opening;
    {
      const FileLock lock = LockMessage(path, FileLock::Kind::kExclusive);
      opening.still_playing = lock.refused();
      if (!opening.still_playing) {
        opening.writer = std::make_shared<QueuedWaveFileWriter>(
            CreateWaveFileWriter(path, 11025, 1, 16, 0), worker_,
            [this, finished = std::move(finished)](bool whole) {
              if (finished) owner_.Post([finished, whole] { finished(whole); });
            });
      }
    }
    owner_.Post([done = std::move(done), opening = std::move(opening)]() mutable {
      done(std::move(opening));
    });
  });
}

}  // namespace parlavox
