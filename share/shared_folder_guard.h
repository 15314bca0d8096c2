#ifndef PARLAVOX_SHARE_SHARED_FOLDER_GUARD_H_
#define PARLAVOX_SHARE_SHARED_FOLDER_GUARD_H_

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "share/smb_connection.h"
#include "util/manual_reset_event.h"
#include "util/mutex.h"
#include "util/worker_thread.h"

namespace parlavox {

// Keeps callers from writing over the messages not heard yet where they reach the own
// inward folder through this machine's Samba: Samba does not see the locks taken on the
// file system, so each message is also opened through the share (at 127.0.0.1) in a way
// that denies others writing, once its caller has let go of it. All of it happens on a
// thread of its own; which share holds the folder is asked half a second after the
// first message came, at most once a minute.
class SharedFolderGuard : private WorkerThread {
 public:
  // `share_of` names where this machine's Samba shares a folder (a share, and the path
  // inside it: "office/anna"), "" where it does not; it is asked on the guard's thread.
  // `smb` outlives this object.
  SharedFolderGuard(SmbConnections& smb, std::function<std::string(const std::string&)> share_of);
  ~SharedFolderGuard() override;

  // Holds the messages `names` of `folder` from now (or from when their callers let go
  // of them) until a Hold leaves them out, or Release.
  void Hold(const std::string& folder, const std::vector<std::string>& names);
  void Release() { Hold("", {}); }

 private:
  struct Wanted {
    std::string folder;
    std::set<std::string> names;
    uint64_t generation = 0;
  };
  void Run() override;
  void OnStopRequested() override { changed_.Set(); }
  Wanted wanted() const;

  SmbConnections& smb_;
  const std::function<std::string(const std::string&)> share_of_;
  mutable Mutex mutex_;
  Wanted wanted_ GUARDED_BY(mutex_);
  ManualResetEvent changed_;
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_SHARED_FOLDER_GUARD_H_
