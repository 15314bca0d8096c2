#ifndef PARLAVOX_SHARE_BACKGROUND_SHARE_ACCESS_H_
#define PARLAVOX_SHARE_BACKGROUND_SHARE_ACCESS_H_

#include <map>
#include <memory>
#include <string>

#include "core/share_access.h"
#include "share/smb_connection.h"
#include "util/serial_worker.h"
#include "util/task_poster.h"

namespace parlavox {

// The ShareAccess over the file system and SMB shares. Folders on the file system (local
// or mounted) are worked on `worker`'s thread, one thing after another in the order
// asked; folders named as on an SMB share ("\\host\share\path", "smb://host/share/path")
// through `smb`, on a thread of each server's own, so that a slow or dead server holds up
// nobody else. Answers are posted to `owner`. All three outlive this object.
class BackgroundShareAccess : public ShareAccess {
 public:
  BackgroundShareAccess(TaskPoster& worker, TaskPoster& owner, SmbConnections& smb)
      : worker_(worker), owner_(owner), smb_(smb) {}
  // A message still closing for a server that does not answer stops waiting for it, so
  // that the servers' threads end at once.
  ~BackgroundShareAccess() override { smb_.Leave(); }

  void ReadRecord(const std::string& folder,
                  std::function<void(std::optional<UserRecord>)> done) override;
  void OpenMessage(const std::string& folder, const std::string& name,
                   std::function<void(MessageOpening)> done, MessageReports reports) override;

 private:
  // The thread that works on `folder`'s server, or the file system's.
  TaskPoster& WorkerFor(const std::string& folder);
  void OpenOnShare(const ShareLocation& share, const std::string& name,
                   std::function<void(MessageOpening)> done, MessageReports reports);
  // `report`, posted to the owner when called; null for a null one.
  std::function<void()> ToOwner(std::function<void()> report);
  // `file`, written on `worker`'s thread, watched with `gone` for being taken away, and
  // reporting to the owner.
  std::shared_ptr<WaveFileWriter> Watched(std::shared_ptr<WaveFileWriter> file,
                                          std::function<bool()> gone, TaskPoster& worker,
                                          MessageReports reports);

  TaskPoster& worker_;
  TaskPoster& owner_;
  SmbConnections& smb_;
  std::map<std::string, std::unique_ptr<SerialWorker>> server_workers_;  // owner's thread only
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_BACKGROUND_SHARE_ACCESS_H_
