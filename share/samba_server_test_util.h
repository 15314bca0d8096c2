#ifndef PARLAVOX_SHARE_SAMBA_SERVER_TEST_UTIL_H_
#define PARLAVOX_SHARE_SAMBA_SERVER_TEST_UTIL_H_

#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>

#include "util/child_process_test_util.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {

// A Samba server of the test's own: smbd in the foreground with a private smb.conf,
// private state folders and passdb, serving on 127.0.0.1 (port 445, so that the
// "\\host\share" names Windows copies use reach it) the folders it is given, guests
// welcome and every file owned by the user running the test. It needs the right to
// listen on port 445 (root, as the tests run in CI).
class SambaServer {
 public:
  // `shares`: share name -> folder.
  SambaServer(const std::string& folder, const std::map<std::string, std::string>& shares)
      : folder_(folder) {
    for (const char* sub : {"run", "lock", "state", "cache", "private", "ncalrpc"}) {
      std::filesystem::create_directories(folder_ + "/" + sub);
    }
    std::ofstream conf(folder_ + "/smb.conf");
    conf << "[global]\n"
         << "  interfaces = 127.0.0.1\n  bind interfaces only = yes\n  smb ports = 445\n"
         << "  pid directory = " << folder_ << "/run\n"
         << "  lock directory = " << folder_ << "/lock\n"
         << "  state directory = " << folder_ << "/state\n"
         << "  cache directory = " << folder_ << "/cache\n"
         << "  private dir = " << folder_ << "/private\n"
         << "  ncalrpc dir = " << folder_ << "/ncalrpc\n"
         << "  log file = " << folder_ << "/log\n"
         << "  passdb backend = tdbsam:" << folder_ << "/private/passdb.tdb\n"
         << "  map to guest = Bad User\n  server role = standalone server\n"
         << "  load printers = no\n  printing = bsd\n  printcap name = /dev/null\n"
         << "  disable spoolss = yes\n  server min protocol = SMB2\n";
    for (const auto& [name, path] : shares) {
      conf << "[" << name << "]\n  path = " << path
           << "\n  read only = no\n  guest ok = yes\n  force user = root\n";
    }
    conf.close();
    server_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"/usr/sbin/smbd", "--foreground", "-s", folder_ + "/smb.conf"},
        std::vector<std::string>{"PATH=/usr/sbin:/usr/bin:/bin"}, "/dev/null",
        folder_ + "/smbd.out");
  }
  ~SambaServer() {
    server_->Signal(SIGTERM);
    server_->WaitForExit(std::chrono::seconds(10));
  }

  // Whether the server answers, within `limit`.
  bool Answers(std::chrono::seconds limit) const {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < deadline) {
      if (std::system("smbclient -N -L //127.0.0.1 >/dev/null 2>&1") == 0) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    return false;
  }
  std::string log() const { return FileText(folder_ + "/smbd.out") + FileText(folder_ + "/log"); }

 private:
  std::string folder_;
  std::unique_ptr<ChildProcess> server_;
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_SAMBA_SERVER_TEST_UTIL_H_
