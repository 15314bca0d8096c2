#include "share/shared_folder_guard.h"

#include <sys/prctl.h>

#include <cerrno>

#include "words/share_name.h"

namespace parlavox {
namespace {

// How often a message whose caller still writes it is tried again.
constexpr std::chrono::milliseconds kRetryInterval{100};

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
  uint64_t done = 0;                              // the generation held, or given up on
  std::string url;
  while (!StopRequested()) {
    changed_.Reset();
    const Wanted want = wanted();
    if (want.generation != done) {
      held.reset();
      url.clear();
      if (!want.name.empty()) {
        const std::string share = share_of_(want.folder);
        if (const auto shared = ParseShareName("smb://" + here.host + "/" + share);
            shared && !share.empty()) {
          url = SmbUrl(*shared, want.name);
        }
      }
      if (url.empty()) done = want.generation;
    }
    if (!url.empty() && !held) {
      if (!connection) connection = smb_.NewBackground(here);
      int error = 0;
      held = connection->Hold(url, &error);
      if (held || error != EBUSY) {
        done = want.generation;
      } else {
        changed_.WaitFor(kRetryInterval);  // its caller still writes it
        continue;
      }
    }
    changed_.Wait();
  }
}

}  // namespace parlavox
