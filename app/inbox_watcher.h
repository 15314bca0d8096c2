#ifndef PARLAVOX_APP_INBOX_WATCHER_H_
#define PARLAVOX_APP_INBOX_WATCHER_H_

#include <chrono>
#include <functional>
#include <string>

#include "audio/task_poster.h"
#include "audio/worker_thread.h"

namespace parlavox {

// Watches the inward folder (not its subfolders) and posts `on_changed` to the owner
// after every creation, deletion or renaming of a file in it: through inotify, and
// where the folder lies on a network file system that inotify can't see into, also by
// comparing the folder's listing every second. A folder that can't be watched ends
// the thread at once; nothing is reported.
class InboxWatcher : public WorkerThread {
 public:
  static constexpr std::chrono::milliseconds kPollInterval{1000};

  explicit InboxWatcher(TaskPoster& poster) : poster_(poster) {}
  ~InboxWatcher() override;

  // Stops a running watcher, then watches `folder` at the lowest priority.
  void StartWatching(const std::string& folder, std::function<void()> on_changed);

 protected:
  void Run() override;

 private:
  TaskPoster& poster_;
  std::string folder_;
  std::function<void()> on_changed_;
};

// Whether `folder` lies on a network file system, where change notifications from
// other machines don't arrive.
bool IsOnNetworkFileSystem(const std::string& folder);

}  // namespace parlavox

#endif  // PARLAVOX_APP_INBOX_WATCHER_H_
