#include "share/shared_folder_guard.h"

#include <sys/prctl.h>

#include <cerrno>

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

void SharedFolderGuard::Hold(const std::string& folder, const std::string& name) {
  {
    MutexLock lock(mutex_);
    wanted_ = {folder, name, wanted_.generation + 1};
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
  std::unique_ptr<SmbConnection::HeldFile> held;  // goes before its connection
  uint64_t looked_up = 0;                         // the generation whose share was looked for
  std::string url;            // of its message through the share; "" when none or done with
  std::string folder, share;  // as last looked for
  auto share_found = std::chrono::steady_clock::time_point();
  while (!StopRequested()) {
    changed_.Reset();
    const Wanted want = wanted();
    if (want.generation != looked_up) {
      held.reset();
      url.clear();
      if (!want.name.empty()) {
        if (changed_.WaitFor(kLookupDelay)) continue;  // asked anew meanwhile
        if (want.folder != folder || std::chrono::steady_clock::now() - share_found > kLookupLife) {
          folder = want.folder;
          share = share_of_(folder);
          share_found = std::chrono::steady_clock::now();
        }
        if (const auto shared = ParseShareName("smb://" + here.host + "/" + share);
            shared && !share.empty()) {
          url = SmbUrl(*shared, want.name);
        }
      }
      looked_up = want.generation;
    }
    if (!url.empty() && !held) {
      if (!connection) connection = smb_.NewBackground(here);
      int error = 0;
      held = connection->Hold(url, &error);
      if (!held && error == EBUSY) {
        changed_.WaitFor(kRetryInterval);  // its caller still writes it
        continue;
      }
      if (!held) url.clear();  // not to be held through the share
    }
    changed_.Wait();
  }
}

}  // namespace parlavox
