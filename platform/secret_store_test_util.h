#ifndef PARLAVOX_PLATFORM_SECRET_STORE_TEST_UTIL_H_
#define PARLAVOX_PLATFORM_SECRET_STORE_TEST_UTIL_H_

#include <signal.h>

#include <filesystem>
#include <string>
#include <vector>

#include "util/child_process_test_util.h"
#include "util/eventually_test_util.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {

// A desktop's secret store of the test's own: GNOME Keyring with a login keyring made and
// unlocked, on a session bus of its own in `folder`. Programs given bus_variable() in
// their environment reach it; nothing of the machine's own session is touched.
class PrivateSecretStore {
 public:
  explicit PrivateSecretStore(const std::string& folder)
      : folder_(folder),
        folders_made_(MakeFolders(folder)),
        bus_variable_("DBUS_SESSION_BUS_ADDRESS=unix:path=" + folder + "/bus"),
        bus_({"/usr/bin/dbus-daemon", "--session", "--nofork", "--nopidfile",
              "--address=unix:path=" + folder + "/bus"},
             {"PATH=/usr/bin:/bin"}, "/dev/null", folder + "/bus.log") {
    if (!folders_made_ || !Eventually([&] { return std::filesystem::exists(folder + "/bus"); }))
      return;
    for (const std::string& entry :
         {std::string("PATH=/usr/bin:/bin"), "HOME=" + folder + "/keyring",
          "XDG_RUNTIME_DIR=" + folder + "/keyring/run", bus_variable_}) {
      environment_ += " '" + entry + "'";
    }
    // The keyring's password on its standard input makes the login keyring, unlocked.
    Shell("(printf keyring | env" + environment_ +
          " gnome-keyring-daemon --foreground --unlock --components=secrets >'" + log_path() +
          "' 2>&1 & echo $! >'" + folder + "/keyring.pid')");
    // Ready once it owns the store's name: a store started on demand would be locked.
    ready_ = Eventually(
        [&] {
          return Shell("env" + environment_ +
                       " dbus-send --session --print-reply --dest=org.freedesktop.DBus / "
                       "org.freedesktop.DBus.NameHasOwner string:org.freedesktop.secrets "
                       "| grep -q true") == 0;
        },
        std::chrono::seconds(10), std::chrono::milliseconds(100));
  }
  ~PrivateSecretStore() {
    if (const std::string pid = FileText(folder_ + "/keyring.pid"); !pid.empty()) {
      kill(std::stoi(pid), SIGTERM);
    }
  }
  PrivateSecretStore(const PrivateSecretStore&) = delete;
  PrivateSecretStore& operator=(const PrivateSecretStore&) = delete;

  bool ready() const { return ready_; }
  const std::string& bus_variable() const { return bus_variable_; }
  std::string log() const { return FileText(log_path()); }

  // The password saved for SMB on `host`, as the file manager would find it.
  std::string SavedPassword(const std::string& host) const {
    return ShellOutput("env" + environment_ +
                       " secret-tool lookup xdg:schema org.gnome.keyring.NetworkPassword server " +
                       host + " protocol smb 2>/dev/null");
  }

  // Saves a password for SMB on `host` as the file manager does.
  bool SaveAsFileManager(const std::string& host, const std::string& user,
                         const std::string& password) const {
    return Shell("printf %s '" + password + "' | env" + environment_ +
                 " secret-tool store --label=smb xdg:schema org.gnome.keyring.NetworkPassword "
                 "server " +
                 host + " protocol smb user " + user) == 0;
  }

 private:
  static bool MakeFolders(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder + "/keyring/run", error);
    std::filesystem::permissions(folder + "/keyring/run", std::filesystem::perms::owner_all, error);
    return !error;
  }
  std::string log_path() const { return folder_ + "/keyring.log"; }

  std::string folder_;
  bool folders_made_;
  std::string bus_variable_;
  ChildProcess bus_;
  std::string environment_;
  bool ready_ = false;
};

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_SECRET_STORE_TEST_UTIL_H_
