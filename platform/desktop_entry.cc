#include "platform/desktop_entry.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>

namespace parlavox {
namespace {

// An argument as the Exec key wants it: as it is, or, where it holds a character the
// key reserves, quoted with quotes, backslashes, backticks and dollar signs escaped.
// A percent sign, which would start a field code, is doubled either way.
std::string ExecArgument(const std::string& text) {
  std::string argument;
  for (const char c : text) argument += c == '%' ? std::string("%%") : std::string(1, c);
  if (!argument.empty() && argument.find_first_of(" \t\n\"'\\><~|&;$*?#()`") == std::string::npos) {
    return argument;
  }
  std::string quoted = "\"";
  for (const char c : argument) {
    if (c == '"' || c == '\\' || c == '`' || c == '$') quoted += '\\';
    quoted += c;
  }
  return quoted + "\"";
}

// Shortcuts that earlier versions left on desktops, by the end of their paths.
constexpr const char* kStaleShortcuts[] = {"/PVX.DESKTOP", "/PARLAVOX-INTERCOM.DESKTOP",
                                           "/PARLAVOX 2.DESKTOP", "/PARLAVOX-SETUP.DESKTOP",
                                           "/PARLAVOX-UNINSTALL.DESKTOP"};

}  // namespace

bool WriteDesktopEntry(const std::string& path, const DesktopEntry& entry, bool launchable) {
  std::error_code error;
  std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
  std::string exec;
  for (const std::string& argument : entry.command) {
    exec += (exec.empty() ? "" : " ") + ExecArgument(argument);
  }
  {
    std::ofstream file(path, std::ios::trunc);
    file << "[Desktop Entry]\nType=Application\nName=" << entry.name << "\n";
    if (!entry.comment.empty()) file << "Comment=" << entry.comment << "\n";
    file << "Exec=" << exec << "\nIcon=" << entry.icon << "\nTerminal=false\n";
    for (const std::string& line : entry.extra_lines) file << line << "\n";
    if (!file.flush()) return false;
  }
  if (launchable) {
    std::filesystem::permissions(path,
                                 std::filesystem::perms::owner_exec |
                                     std::filesystem::perms::group_exec |
                                     std::filesystem::perms::others_exec,
                                 std::filesystem::perm_options::add, error);
  }
  return true;
}

void DeleteForeignShortcuts(const std::string& folder) {
  std::error_code error;
  for (const auto& item : std::filesystem::directory_iterator(folder, error)) {
    if (item.path().extension() != ".desktop") continue;
    std::string path = item.path().string();
    std::transform(path.begin(), path.end(), path.begin(),
                   [](unsigned char c) { return std::toupper(c); });
    for (const char* stale : kStaleShortcuts) {
      if (path.find(stale) != std::string::npos) {
        std::filesystem::remove(item.path(), error);
        break;
      }
    }
  }
}

}  // namespace parlavox
