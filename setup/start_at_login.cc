#include "setup/start_at_login.h"

#include "setup/desktop_entry.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace parlavox {
namespace {

std::string UserConfigFolder() {
  const char* config = std::getenv("XDG_CONFIG_HOME");
  if (config != nullptr && *config != '\0') return config;
  const char* home = std::getenv("HOME");
  return std::string(home != nullptr ? home : "") + "/.config";
}

}  // namespace

AutostartEntry AutostartEntry::ForUser() {
  return AutostartEntry(UserConfigFolder() + "/autostart");
}

std::string MachineConfigFolder() {
  const char* list = std::getenv("XDG_CONFIG_DIRS");
  const std::string dirs = list != nullptr ? list : "";
  const std::string first = dirs.substr(0, dirs.find(':'));
  return first.empty() ? "/etc/xdg" : first;
}

bool AutostartEntry::IsOn() const {
  std::error_code error;
  return std::filesystem::exists(path(), error);
}

void AutostartEntry::Set(bool on) {
  if (on) {
    Enable(RunningProgramPath());
  } else {
    Disable();
  }
}

bool AutostartEntry::Enable(const std::string& program) const {
  DesktopEntry entry;
  entry.name = "Parlavox";
  entry.comment = "Push-to-talk intercom, started in the tray";
  entry.command = {program, "/logon"};
  entry.extra_lines = {"X-GNOME-Autostart-enabled=true"};
  return WriteDesktopEntry(path(), entry, /*launchable=*/false);
}

bool AutostartEntry::Hide() const {
  DesktopEntry entry;
  entry.name = "Parlavox";
  entry.comment = "Not started at login";
  entry.command = {RunningProgramPath(), "/logon"};
  entry.extra_lines = {"Hidden=true"};
  return WriteDesktopEntry(path(), entry, /*launchable=*/false);
}

bool AutostartEntry::Starts() const {
  std::ifstream file(path());
  if (!file) return false;
  for (std::string line; std::getline(file, line);) {
    if (line == "Hidden=true") return false;
  }
  return true;
}

void AutostartEntry::Disable() const {
  std::error_code error;
  std::filesystem::remove(path(), error);
}

PersonsStartAtLogin PersonsStartAtLogin::ForUser() {
  return PersonsStartAtLogin(AutostartEntry::ForUser(),
                             AutostartEntry(MachineConfigFolder() + "/autostart"));
}

bool PersonsStartAtLogin::IsOn() const { return own_.IsOn() ? own_.Starts() : machine_.Starts(); }

void PersonsStartAtLogin::Set(bool on) {
  if (on) {
    own_.Enable(RunningProgramPath());
  } else if (machine_.Starts()) {
    own_.Hide();
  } else {
    own_.Disable();
  }
}

std::string RunningProgramPath() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? "parlavox" : program.string();
}

}  // namespace parlavox
