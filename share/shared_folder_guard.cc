#include "share/shared_folder_guard.h"

#include <sys/prctl.h>

#include <cerrno>
#include <map>
#include <optional>

#include "words/share_name.h"

namespace parlavox {
namespace {

// How often a message whose caller still writes it is tried again.
constexpr std::chrono::milliseconds kRetryInterval{100};
// How long after a message began to play the share is looked for: the programs asked
// would otherwise compete with the start of playback, and a caller can't call again
// before its message is whole. What they said holds for a minute.
constexpr std::chrono::milliseconds kLookupDelay{500};
constexpr std::chrono::seconds kLookupLife{60};

}  // namespace

SharedFolderGuard::SharedFolderGuard(SmbConnections& smb,
                                     std::function<std::string(const std::string&)> share_of)
    : smb_(smb), share_of_(std::move(share_of)) {
  Start(kPriorityLowest);
}

SharedFolderGuard::~SharedFolderGuard() { Stop(); }

void SharedFolderGuard::Hold(const std::string& folder, const std::vector<std::string>& names) {
  std::set<std::string> wanted(names.begin(), names.end());
  {
    MutexLock lock(mutex_);
    if (wanted_.folder == folder && wanted_.names == wanted) return;
    wanted_ = {folder, std::move(wanted), wanted_.generation + 1};
  }
  changed_.Set();
}

SharedFolderGuard::Wanted SharedFolderGuard::wanted() const {
  MutexLock lock(mutex_);
  return wanted_;
}

void SharedFolderGuard::Run() {
  prctl(PR_SET_NAME, "parlavox-guard");
  const ShareLocation here{.host = "127.0.0.1"};
  std::unique_ptr<SmbConnection> connection;
  // By message: held through the share, or null where it can't be for other reasons than
  // its caller writing it. They go before their connection.
  std::map<std::string, std::unique_ptr<SmbConnection::HeldFile>> held;
  uint64_t seen = 0;          // the generation of what is held
  std::string folder, share;  // as last looked for
  auto share_found = std::chrono::steady_clock::time_point();
  while (!StopRequested()) {
    changed_.Reset();
    const Wanted want = wanted();
    if (want.generation != seen) {
      std::erase_if(held, [&](const auto& message) {
        return want.folder != folder || !want.names.contains(message.first);
      });
      const bool stale = std::chrono::steady_clock::now() - share_found > kLookupLife;
      if (!want.names.empty() && (want.folder != folder || stale)) {
        if (changed_.WaitFor(kLookupDelay)) continue;  // asked anew meanwhile
        folder = want.folder;
        share = share_of_(folder);
        share_found = std::chrono::steady_clock::now();
      }
      seen = want.generation;
    }
    bool callers_writing = false;
    // Named as Windows names it, where a name is taken as it is.
    const std::optional<ShareLocation> shared = ParseShareName("\\\\" + here.host + "\\" + share);
    for (const std::string& name : want.names) {
      if (!shared || share.empty() || want.folder != folder || held.contains(name)) continue;
      if (!connection) connection = smb_.NewBackground(here);
      int error = 0;
      std::unique_ptr<SmbConnection::HeldFile> file =
          connection->Hold(SmbUrl(*shared, name), &error);
      if (!file && error == EBUSY) {
        callers_writing = true;
        continue;
      }
      held.emplace(name, std::move(file));
    }
    if (callers_writing) {
      changed_.WaitFor(kRetryInterval);
    } else {
      changed_.Wait();
    }
  }
}

}  // namespace parlavox
