#include "setup/start_at_login.h"

#include "setup/desktop_entry.h"

#include <cstdlib>
#include <filesystem>

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

void AutostartEntry::Disable() const {
  std::error_code error;
  std::filesystem::remove(path(), error);
}

std::string RunningProgramPath() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? "parlavox" : program.string();
}

}  // namespace parlavox
