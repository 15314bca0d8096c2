#include "app/paths.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

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

std::string HomeFolder() {
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != '\0') return home;
  if (const passwd* account = getpwuid(getuid()); account != nullptr) return account->pw_dir;
  return "/";
}

}  // namespace parlavox
