#include "util/paths.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <vector>

namespace parlavox {
namespace {

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

}  // namespace

std::string JoinPath(std::string_view folder, std::string_view name) {
  std::string path(folder);
  if (!path.empty() && !IsSeparator(path.back())) path += '/';
  path += name;
  if (path.size() > kMaxPath) path.resize(kMaxPath);
  return path;
}

std::string StripTrailingSeparators(std::string_view path) {
  size_t length = path.size();
  while (length > 1 && IsSeparator(path[length - 1])) --length;
  return std::string(path.substr(0, length));
}

std::string EnvironmentOr(const char* name, std::string_view fallback) {
  const char* value = std::getenv(name);
  if (value == nullptr || *value == '\0') return std::string(fallback);
  return value;
}

bool HasDisplay() {
  return !EnvironmentOr("DISPLAY", "").empty() || !EnvironmentOr("WAYLAND_DISPLAY", "").empty();
}

std::optional<Account> OwnAccount() {
  passwd entry{};
  passwd* found = nullptr;
  std::vector<char> buffer(16384);
  if (getpwuid_r(getuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
    return std::nullopt;
  }
  const std::string gecos = entry.pw_gecos != nullptr ? entry.pw_gecos : "";
  return Account{entry.pw_name, gecos.substr(0, gecos.find(',')), entry.pw_dir};
}

std::string HomeFolder() {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') return home;
  if (const std::optional<Account> account = OwnAccount()) return account->home;
  return "/";
}

std::string HostName() {
  char name[256] = {};
  return gethostname(name, sizeof name - 1) == 0 && name[0] != '\0' ? name : "localhost";
}

std::string XdgConfigHome() { return EnvironmentOr("XDG_CONFIG_HOME", HomeFolder() + "/.config"); }

std::string XdgDataHome() { return EnvironmentOr("XDG_DATA_HOME", HomeFolder() + "/.local/share"); }

std::string XdgCacheHome() { return EnvironmentOr("XDG_CACHE_HOME", HomeFolder() + "/.cache"); }

std::string XdgConfigDirsFirst() {
  const std::string list = EnvironmentOr("XDG_CONFIG_DIRS", "/etc/xdg");
  const std::string first = list.substr(0, list.find(':'));
  return first.empty() ? "/etc/xdg" : first;
}

std::string XdgRuntimeDir() { return EnvironmentOr("XDG_RUNTIME_DIR", ""); }

std::string RunningProgramPath() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  return error ? "parlavox" : program.string();
}

}  // namespace parlavox
