#ifndef PARLAVOX_APP_INTERCOM_COPY_TEST_UTIL_H_
#define PARLAVOX_APP_INTERCOM_COPY_TEST_UTIL_H_

#include <stdlib.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <array>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "settings/profile_file.h"
#include "util/child_process_test_util.h"
#include "util/eventually_test_util.h"
#include "util/little_endian.h"
#include "util/scratch_folder_test_util.h"
#include "words/user_record_test_util.h"

namespace parlavox {

// Whether `bytes` are a whole message file: its header's RIFF and data sizes are the
// file's, as the caller leaves them once the call has ended.
inline bool IsFinishedMessage(const std::string& bytes) {
  const auto field = [&](size_t at) {
    return GetLittleEndian32(reinterpret_cast<const uint8_t*>(&bytes[at]));
  };
  return bytes.size() >= 46 && field(4) == bytes.size() - 8 && field(42) == bytes.size() - 46;
}

// One person's copy of the real parlavox executable: a home, runtime folder and
// (optionally) sound server of its own, run without a window; everything it does is
// watched through its files, its log and its command-line control.
class IntercomCopy {
 public:
  IntercomCopy(const std::string& folder, std::string pulse_server = "")
      : home_(folder + "/home"),
        runtime_(folder + "/run"),
        temporary_(folder + "/tmp"),
        log_(folder + "/parlavox.log"),
        control_output_(folder + "/control.out"),
        machine_config_(folder + "/etc"),
        tools_(folder + "/tools"),
        pulse_server_(std::move(pulse_server)) {
    std::filesystem::create_directories(tools_);
    std::filesystem::create_directories(home_);
    std::filesystem::create_directories(inward_folder());
    std::filesystem::permissions(inward_folder(),
                                 std::filesystem::perms::all | std::filesystem::perms::sticky_bit);
    std::filesystem::create_directories(runtime_);
    std::filesystem::create_directories(temporary_);
    std::filesystem::permissions(runtime_, std::filesystem::perms::owner_all);
  }

  const std::string& home() const { return home_; }
  std::string data_folder() const { return home_ + "/.local/share/parlavox"; }
  std::string settings() const { return data_folder() + "/settings.ini"; }
  std::string inward_folder() const { return data_folder() + "/Incoming"; }
  std::string log() const { return FileText(log_); }
  std::string runtime_folder() const { return runtime_; }

  std::vector<std::string> Environment() const {
    std::vector<std::string> environment = {
        "HOME=" + home_, "XDG_RUNTIME_DIR=" + runtime_, "TMPDIR=" + temporary_,
        "XDG_CONFIG_DIRS=" + machine_config_, "PATH=" + tools_ + ":/usr/bin:/bin"};
    if (!pulse_server_.empty()) environment.push_back("PULSE_SERVER=" + pulse_server_);
    if (!display_.empty()) environment.push_back("DISPLAY=" + display_);
    environment.insert(environment.end(), extra_environment_.begin(), extra_environment_.end());
    const std::vector<std::string> sanitizers = SanitizerEnvironment();
    environment.insert(environment.end(), sanitizers.begin(), sanitizers.end());
    return environment;
  }

  // Adds "NAME=value" to the environment of every later start.
  void AddEnvironment(const std::string& entry) { extra_environment_.push_back(entry); }

  // Starts the copy without a window, in `working_folder` when one is given.
  void Start(const std::string& working_folder = "") {
    process_ = std::make_unique<ChildProcess>(std::vector<std::string>{PARLAVOX_BINARY, "/service"},
                                              Environment(), "/dev/null", log_, working_folder);
  }

  // Starts the copy with its window on `display`, with `arguments` ("/logon", ...).
  void StartWindowed(const std::string& display, const std::vector<std::string>& arguments = {}) {
    display_ = display;
    std::vector<std::string> argv = {PARLAVOX_BINARY};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    process_ = std::make_unique<ChildProcess>(argv, Environment(), "/dev/null", log_);
  }

  // A folder searched first for programs the copy starts, where a test can put
  // stand-ins (a web browser, a mixer).
  const std::string& tools_folder() const { return tools_; }
  ChildProcess& process() { return *process_; }
  bool process_started() const { return process_ != nullptr; }

  // Runs one control command to its end; returns its exit code and what it printed
  // on standard output.
  std::pair<int, std::string> Control(const std::vector<std::string>& arguments) const {
    return Run(arguments).first;
  }

  // Runs the program with `arguments` to its end; returns its exit code and what it
  // printed on standard output, and what it printed on standard error.
  std::pair<std::pair<int, std::string>, std::string> Run(
      const std::vector<std::string>& arguments) const {
    return RunProgram(PARLAVOX_BINARY, arguments);
  }

  // The same for another file of the program (an installed copy, a package).
  std::pair<std::pair<int, std::string>, std::string> RunProgram(
      const std::string& program, const std::vector<std::string>& arguments) const {
    std::vector<std::string> argv = {program};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    const std::string errors = control_output_ + ".err";
    std::filesystem::remove(errors);
    ChildProcess control(argv, Environment(), control_output_, errors);
    const int code = control.WaitForExit(std::chrono::seconds(40));
    return {{code, FileText(control_output_)}, FileText(errors)};
  }

  QJsonObject Status() const {
    const std::string output = Control({"--status"}).second;
    return QJsonDocument::fromJson(QByteArray::fromStdString(output)).object();
  }
  // What the running copy says of the user at `index` of its list; empty while the list
  // is shorter.
  QJsonObject UserStatus(int index) const {
    const QJsonArray users = Status()["users"].toArray();
    return index < users.size() ? users[index].toObject() : QJsonObject();
  }

  bool WaitUntilAnswering() const {
    return Eventually([&] { return Control({"--status"}).first == 0; }, std::chrono::seconds(10));
  }

  UserRecord OwnRecord() const {
    UserRecord record;
    ReadUserRecord(&record, inward_folder() + "/ParlavoxUserData");
    return record;
  }

  void Set(const std::string& section, const std::string& key, const std::string& value) const {
    std::filesystem::create_directories(data_folder());
    WriteProfileString(settings(), section, key, value);
  }

  // Names the copy's own inward folder in the person's folder store.
  void SetOwnInwardFolder(const std::string& folder) const {
    std::filesystem::create_directories(home_ + "/.config/parlavox");
    WriteProfileString(home_ + "/.config/parlavox/folders.ini", "Folders", "Incoming", folder);
  }

  // Writes the "keys" section: one {virtual key, modifiers, command} per hot key.
  void SetHotKeys(const std::vector<std::array<int, 3>>& keys) const {
    for (size_t i = 0; i < keys.size(); ++i) {
      Set("keys", "key" + std::to_string(i), std::to_string(keys[i][0]));
      Set("keys", "mod" + std::to_string(i), std::to_string(keys[i][1]));
      Set("keys", "command" + std::to_string(i), std::to_string(keys[i][2]));
    }
    Set("keys", "keycount", std::to_string(keys.size()));
  }

 private:
  std::string home_, runtime_, temporary_, log_, control_output_, machine_config_, tools_,
      pulse_server_;
  std::string display_;
  std::vector<std::string> extra_environment_;
  std::unique_ptr<ChildProcess> process_;
};

}  // namespace parlavox

#endif  // PARLAVOX_APP_INTERCOM_COPY_TEST_UTIL_H_
