#include "setup/start_at_login.h"

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

// A path as an XDG entry's Exec key wants it: quoted, with its own quotes and
// backslashes escaped.
std::string Quoted(const std::string& path) {
  std::string quoted = "\"";
  for (const char c : path) {
    if (c == '"' || c == '\\' || c == '`' || c == '$') quoted += '\\';
    quoted += c;
  }
  return quoted + "\"";
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
  std::error_code error;
  std::filesystem::create_directories(folder_, error);
  std::ofstream entry(path());
  entry << "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Parlavox\n"
           "Comment=Push-to-talk intercom, started in the tray\n"
           "Exec="
        << Quoted(program)
        << " /logon\n"
           "Icon=parlavox\n"
           "Terminal=false\n"
           "X-GNOME-Autostart-enabled=true\n";
  return static_cast<bool>(entry.flush());
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
