#ifndef PARLAVOX_SHARE_SAMBA_SERVER_TEST_UTIL_H_
#define PARLAVOX_SHARE_SAMBA_SERVER_TEST_UTIL_H_

#include <arpa/inet.h>
#include <netinet/in.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <thread>

#include "util/child_process_test_util.h"
#include "util/eventually_test_util.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {

// A Samba server of the test's own: smbd in the foreground with a private smb.conf,
// private state folders and passdb, serving on 127.0.0.1 (port 445, so that the
// "\\host\share" names Windows copies use reach it) the folders it is given, every
// file owned by the user running the test. It needs the right to listen on port 445
// (root, as the tests run in CI).
class SambaServer {
 public:
  // The one account of the passdb: "root", with this password.
  static constexpr const char* kPassword = "parlavox-test";

  // `shares`: share name -> folder, guests welcome; `account_shares` the same for the
  // account alone. With `user_shares` it also serves the machine's user shares, those
  // that `net usershare` makes; with `lists_shares` it tells what shares it has (Samba's
  // RPC server, started here so that it ends with the test).
  SambaServer(const std::string& folder, const std::map<std::string, std::string>& shares,
              const std::map<std::string, std::string>& account_shares = {},
              bool user_shares = false, bool lists_shares = false)
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
         << "  disable spoolss = yes\n  server min protocol = SMB2\n"
         // No RPC helpers, which would outlive the server.
         << "  rpc start on demand helpers = no\n";
    if (user_shares) {
      conf << "  usershare path = /var/lib/samba/usershares\n  usershare max shares = 100\n"
           << "  usershare allow guests = yes\n";
    }
    for (const auto& [name, path] : shares) {
      conf << "[" << name << "]\n  path = " << path
           << "\n  read only = no\n  guest ok = yes\n  force user = root\n";
    }
    for (const auto& [name, path] : account_shares) {
      conf << "[" << name << "]\n  path = " << path
           << "\n  read only = no\n  guest ok = no\n  valid users = root\n";
    }
    conf.close();
    if (!account_shares.empty()) {
      const std::string add = "printf '%s\\n%s\\n' " + std::string(kPassword) + " " + kPassword +
                              " | /usr/bin/pdbedit -s '" + folder_ +
                              "/smb.conf' -a -u root -t >/dev/null 2>&1";
      account_added_ = Shell(add) == 0;
    }
    server_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"/usr/sbin/smbd", "--foreground", "-s", folder_ + "/smb.conf"},
        std::vector<std::string>{"PATH=/usr/sbin:/usr/bin:/bin"}, "/dev/null",
        folder_ + "/smbd.out");
    if (lists_shares) {
      rpc_server_ = std::make_unique<ChildProcess>(
          std::vector<std::string>{"/usr/libexec/samba/samba-dcerpcd", "--foreground",
                                   "--libexec-rpcds", "-s", folder_ + "/smb.conf"},
          std::vector<std::string>{"PATH=/usr/sbin:/usr/bin:/bin"}, "/dev/null",
          folder_ + "/rpc.out");
    }
  }
  ~SambaServer() {
    if (rpc_server_) Stop(*rpc_server_);
    Stop(*server_);
  }

  // Whether the server answers, within `limit`: this one, not another that holds the port.
  bool Answers(std::chrono::seconds limit) const {
    return Eventually(
               [&] {
                 return !server_->running() ||
                        Shell("smbclient -N //127.0.0.1/IPC$ -c exit >/dev/null 2>&1") == 0;
               },
               limit, std::chrono::milliseconds(200)) &&
           server_->running();
  }
  // Whether the account was put into the passdb, where one was asked for.
  bool account_added() const { return account_added_; }
  std::string log() const { return FileText(folder_ + "/smbd.out") + FileText(folder_ + "/log"); }

 private:
  static void Stop(ChildProcess& process) {
    process.Signal(SIGTERM);
    process.WaitForExit(std::chrono::seconds(10));
  }

  std::string folder_;
  bool account_added_ = true;
  std::unique_ptr<ChildProcess> server_;
  std::unique_ptr<ChildProcess> rpc_server_;
};

// A machine that hangs: a listener on 127.0.0.5 that takes connections and never says
// a word, on a port of its own.
class SilentListener {
 public:
  SilentListener() : socket_(socket(AF_INET, SOCK_STREAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(0x7f000005);
    if (bind(socket_, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(socket_, 16) != 0) {
      return;
    }
    socklen_t length = sizeof address;
    getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &length);
    port_ = ntohs(address.sin_port);
  }
  ~SilentListener() { close(socket_); }
  SilentListener(const SilentListener&) = delete;
  SilentListener& operator=(const SilentListener&) = delete;

  // The folder "smb://127.0.0.5:<port>/<share>"; the port is 0 when nothing listens.
  std::string Folder(const std::string& share) const {
    return "smb://127.0.0.5:" + std::to_string(port_) + "/" + share;
  }
  int port() const { return port_; }

 private:
  int socket_;
  int port_ = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_SAMBA_SERVER_TEST_UTIL_H_
