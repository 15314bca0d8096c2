#ifndef PARLAVOX_PLATFORM_INBOX_WATCHER_H_
#define PARLAVOX_PLATFORM_INBOX_WATCHER_H_

#include <chrono>
#include <functional>
#include <set>
#include <string>

#include "core/workers.h"
#include "util/task_poster.h"
#include "util/worker_thread.h"

namespace parlavox {

// What a folder holds, as "name size time" lines, subfolders included but not what lies
// below them: a message sent again under the same name changes the listing too.
std::set<std::string> ListFolder(const std::string& folder);

// Watches the inward folder (not its subfolders) at the lowest priority and posts
// `changed` to the owner after every creation, deletion or renaming of a name in it:
// through inotify, and where the folder lies on a network file system also by
// comparing the folder's listing every second. Otherwise the thread sleeps until a
// change or a stop request wakes it. A folder that is missing, not a folder, or goes
// away is reported unusable and looked for every second; when it is back, the watch
// is set up again and it is reported usable and changed.
class InboxWatcher : public WorkerThread, public InboxWatching {
 public:
  static constexpr std::chrono::milliseconds kListingInterval{1000};

  // How the folder's listing is taken; tests can give one of their own.
  using Lister = std::function<std::set<std::string>(const std::string& folder)>;
  enum class ListingPoll { kOnNetworkFileSystems, kAlways };

  explicit InboxWatcher(TaskPoster& poster,
                        ListingPoll listing_poll = ListingPoll::kOnNetworkFileSystems,
                        Lister lister = ListFolder);
  ~InboxWatcher() override;

  void StartWatching(const std::string& folder, std::function<void()> changed,
                     std::function<void(bool usable)> usable) override;
  void AskToStop() override { RequestStop(); }
  void StopWatching() override { Stop(); }

 protected:
  void Run() override;
  void OnThreadStart() override;
  void OnStopRequested() override;

 private:
  TaskPoster& poster_;
  ListingPoll listing_poll_;
  Lister lister_;
  int wake_fd_;  // an eventfd that a stop request makes readable
  std::string folder_;
  std::function<void()> changed_;
  std::function<void(bool)> usable_;
};

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_INBOX_WATCHER_H_
