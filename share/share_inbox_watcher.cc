#include "share/share_inbox_watcher.h"

#include <sys/prctl.h>

#include <atomic>
#include <filesystem>
#include <map>

#include "share/inward_mirror.h"
#include "util/manual_reset_event.h"
#include "util/worker_thread.h"
#include "words/share_name.h"

namespace parlavox {
namespace {

// An inward folder on an SMB share, reached through connections of its own: one that
// lists and reads, and one that waits for the server's change notification. A wait
// that ends before the server reported anything leaves its request pending, and the
// next request on that connection may fail (then the waiting falls back to polling),
// so nothing else uses it.
class SmbRemoteFolder : public RemoteFolder {
 public:
  SmbRemoteFolder(std::unique_ptr<SmbConnection> connection,
                  std::unique_ptr<SmbConnection> notifying, ShareLocation location)
      : connection_(std::move(connection)),
        notifying_(std::move(notifying)),
        location_(std::move(location)) {}

  std::optional<std::vector<File>> Files() override {
    const auto entries = connection_->List(SmbUrl(location_));
    if (!entries) return std::nullopt;
    std::vector<File> files;
    for (const SmbConnection::Entry& entry : *entries) {
      if (!entry.is_folder) files.push_back({entry.name, entry.size, entry.modified_ns});
    }
    return files;
  }
  std::optional<std::string> Read(const std::string& name, int64_t offset, size_t size) override {
    SmbConnection::NoteMessageMoved();
    return connection_->ReadAt(SmbUrl(location_, name), offset, size);
  }
  std::optional<std::string> ReadGrowing(const std::string& name, int64_t offset, size_t size,
                                         int64_t* size_now) override {
    SmbConnection::NoteMessageMoved();
    return connection_->ReadAt(SmbUrl(location_, name), offset, size, nullptr, size_now);
  }
  bool Remove(const std::string& name) override {
    return connection_->Remove(SmbUrl(location_, name));
  }
  bool Hold(const std::string& name) override {
    if (held_.contains(name)) return true;
    std::unique_ptr<SmbConnection::HeldFile> held = connection_->Hold(SmbUrl(location_, name));
    if (!held) return false;
    held_[name] = std::move(held);
    return true;
  }
  void Release(const std::string& name) override { held_.erase(name); }
  bool WatchChanges(std::chrono::milliseconds limit, const std::function<bool()>& interrupted,
                    const std::function<void(bool arrived)>& noticed) override {
    return notifying_->WatchChanges(SmbUrl(location_), limit, interrupted, noticed);
  }
  // The cut reaches both connections: they go to one server.
  void LetGoIfSilent() override { notifying_->CutOffIfSilent(); }

 private:
  std::unique_ptr<SmbConnection> connection_;
  std::unique_ptr<SmbConnection> notifying_;
  ShareLocation location_;
  std::map<std::string, std::unique_ptr<SmbConnection::HeldFile>> held_;  // on connection_
};

// What the mirror is told between its looks at the server. Safe from any thread.
struct MirrorNotices {
  ManualResetEvent look;             // something changed, on the server or here
  std::atomic<bool> arrived{false};  // a file came into the server's folder
  std::atomic<bool> server_notifies{true};
};

// Waits for the server's reports of changes in the folder, and passes them on.
class NoticeThread : public WorkerThread {
 public:
  // `remote` and `notices` outlive this object.
  NoticeThread(RemoteFolder& remote, MirrorNotices& notices) : remote_(remote), notices_(notices) {}
  ~NoticeThread() override { Stop(); }

 protected:
  void OnThreadStart() override { prctl(PR_SET_NAME, "parlavox-notice"); }
  void OnStopOverdue() override { remote_.LetGoIfSilent(); }
  void Run() override {
    while (!StopRequested()) {
      const bool notifies = remote_.WatchChanges(
          ShareInboxWatcher::kRelistInterval, [this] { return StopRequested(); },
          [this](bool arrived) {
            if (arrived) notices_.arrived = true;
            notices_.look.Set();
          });
      if (notifies != notices_.server_notifies.exchange(notifies)) notices_.look.Set();
      if (!notifies) WaitForStop(ShareInboxWatcher::kIdleWait);
    }
  }

 private:
  RemoteFolder& remote_;
  MirrorNotices& notices_;
};

}  // namespace

class ShareInboxWatcher::MirrorThread : public WorkerThread {
 public:
  // How long after its last copying a message counts as growing.
  static constexpr std::chrono::seconds kGrowingFor{2};

  // `notices` are told, besides, of changes to the local copy (a message heard and
  // deleted): the server is looked at again at once, to let go of what was heard there.
  MirrorThread(std::unique_ptr<RemoteFolder> remote, const std::string& local_folder,
               TaskPoster& owner, std::function<void(bool)> usable,
               std::shared_ptr<MirrorNotices> notices)
      : remote_(std::move(remote)),
        mirror_(*remote_, local_folder),
        owner_(owner),
        usable_(std::move(usable)),
        notices_(std::move(notices)),
        noticing_(*remote_, *notices_) {}
  ~MirrorThread() override { Stop(); }

 protected:
  void OnThreadStart() override { prctl(PR_SET_NAME, "parlavox-mirror"); }
  void OnStopRequested() override {
    noticing_.RequestStop();
    notices_->look.Set();
  }
  // A server that hangs would hold the thread in the library's time-outs beyond the
  // time a stop waits for it.
  void OnStopOverdue() override { remote_->LetGoIfSilent(); }
  void Run() override {
    mirror_.ClearRemote();
    noticing_.Start(kPriorityLowest);
    bool usable = true;
    auto last_copy = std::chrono::steady_clock::time_point();
    auto last_message = std::chrono::steady_clock::time_point();
    auto last_listing = std::chrono::steady_clock::time_point();
    while (!StopRequested()) {
      // A message that grew lately is followed rather than the folder listed, which
      // costs more round trips; the folder is listed once nothing more came, at once when
      // the server reports a file come in (another caller's message, which must be held
      // before its caller can call again and cut it), and every few seconds.
      const auto began = std::chrono::steady_clock::now();
      const bool followed = began - last_copy < kGrowingFor &&
                            began - last_listing < kFollowWithoutListing && !notices_->arrived &&
                            mirror_.Follow();
      if (!followed) {
        notices_->arrived = false;
        notices_->look.Reset();
        const bool reached = mirror_.Sync();
        last_listing = began;
        if (reached != usable) {
          usable = reached;
          owner_.Post([usable_ = usable_, reached] { usable_(reached); });
        }
        if (!reached) {
          WaitForStop(kIdleWait);
          continue;
        }
      }
      const auto now = std::chrono::steady_clock::now();
      if (mirror_.copied()) last_copy = now;
      if (mirror_.has_copies()) last_message = now;
      // A message that grew lately may grow on: look again soon. Otherwise the server's
      // word is waited for, with a look now and then in case it missed something; where
      // it has none to give, the folder is looked at every second. While messages come
      // and go (and for a while after), the folder is also looked at every second: a
      // change that falls between two of the server's reports may go unreported.
      if (now - last_copy < kGrowingFor) {
        WaitForStop(kGrowingWait);
        continue;
      }
      const bool often = now - last_message < kLately || !notices_->server_notifies;
      notices_->look.WaitFor(often ? kLookWhileMessagesWait : kRelistInterval);
    }
    noticing_.Stop();
  }

 private:
  std::unique_ptr<RemoteFolder> remote_;
  InwardMirror mirror_;
  TaskPoster& owner_;
  std::function<void(bool)> usable_;
  std::shared_ptr<MirrorNotices> notices_;
  NoticeThread noticing_;  // last: it stops before what it uses goes
};

ShareInboxWatcher::ShareInboxWatcher(InboxWatching& local, SmbConnections& smb, TaskPoster& owner)
    : local_(local), smb_(smb), owner_(owner) {}

ShareInboxWatcher::~ShareInboxWatcher() = default;

void ShareInboxWatcher::StartWatching(const std::string& folder, std::function<void()> changed,
                                      std::function<void(bool usable)> usable) {
  mirror_.reset();
  const std::optional<ShareLocation> share = ParseShareName(folder);
  if (!share) return local_.StartWatching(folder, std::move(changed), std::move(usable));
  const std::string local_folder = LocalInwardFolder(folder);
  std::error_code ignored;
  std::filesystem::create_directories(local_folder, ignored);
  std::filesystem::permissions(local_folder, std::filesystem::perms::owner_all, ignored);
  auto notices = std::make_shared<MirrorNotices>();
  local_.StartWatching(
      local_folder,
      [changed, notices] {
        notices->look.Set();
        changed();
      },
      usable);
  mirror_ = std::make_unique<MirrorThread>(
      std::make_unique<SmbRemoteFolder>(smb_.NewBackground(*share), smb_.NewBackground(*share),
                                        *share),
      local_folder, owner_,
      [usable, changed](bool reached) {
        usable(reached);
        if (reached) changed();
      },
      notices);
  mirror_->Start(WorkerThread::kPriorityLowest);
}

void ShareInboxWatcher::AskToStop() {
  if (mirror_) mirror_->RequestStop();
  local_.AskToStop();
}

void ShareInboxWatcher::StopWatching() {
  mirror_.reset();
  local_.StopWatching();
}

}  // namespace parlavox
