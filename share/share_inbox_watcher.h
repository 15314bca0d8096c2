#ifndef PARLAVOX_SHARE_SHARE_INBOX_WATCHER_H_
#define PARLAVOX_SHARE_SHARE_INBOX_WATCHER_H_

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "core/workers.h"
#include "share/smb_connection.h"
#include "util/task_poster.h"

namespace parlavox {

// Watches the own inward folder wherever it is named to be. A folder on the file system
// is left to `local`. For one on an SMB share, a thread keeps the folder's local copy
// (LocalInwardFolder) in step with the server through an InwardMirror, and `local`
// watches that copy. A second thread waits on the server's reports of changes in the
// folder; the first looks at the folder at each (and at each wait's first look, for
// what came before the server took it), and at once when the local copy changed
// (a message heard is let go of and deleted on the server). It looks at the folder anyway
// every 2 minutes, every 40 ms (as often as a caller writes) while a message grows, every
// second while messages wait here and for 10 s after, and every second where the server
// can't report changes. While a message grows it is followed (InwardMirror::Follow)
// rather than the folder listed, which is listed again once nothing more came, at once
// when the server reports a file come in, and at least every 5 s. A server that can't be
// reached is reported unusable, and usable again once it answers. `local`, `smb` and
// `owner` outlive this object; stopping takes half a second, and up to 3 s where the
// server went silent.
class ShareInboxWatcher : public InboxWatching {
 public:
  static constexpr std::chrono::milliseconds kIdleWait{1000};
  static constexpr std::chrono::milliseconds kLookWhileMessagesWait{1000};
  static constexpr std::chrono::milliseconds kLately{10000};
  static constexpr std::chrono::milliseconds kGrowingWait{40};
  static constexpr std::chrono::milliseconds kFollowWithoutListing{5000};
  static constexpr std::chrono::milliseconds kRelistInterval{120000};

  ShareInboxWatcher(InboxWatching& local, SmbConnections& smb, TaskPoster& owner);
  ~ShareInboxWatcher() override;

  void StartWatching(const std::string& folder, std::function<void()> changed,
                     std::function<void(bool usable)> usable) override;
  void AskToStop() override;
  void StopWatching() override;

 private:
  class MirrorThread;

  InboxWatching& local_;
  SmbConnections& smb_;
  TaskPoster& owner_;
  std::unique_ptr<MirrorThread> mirror_;
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_SHARE_INBOX_WATCHER_H_
