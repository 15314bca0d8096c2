#ifndef PARLAVOX_UTIL_PATHS_H_
#define PARLAVOX_UTIL_PATHS_H_

#include <optional>
#include <string>
#include <string_view>

namespace parlavox {

// Longest path the program keeps; longer ones are cut.
inline constexpr size_t kMaxPath = 259;

// `folder` + "/" + `name`, where the "/" is left out when the folder is empty or
// already ends in "/" or "\"; cut at kMaxPath characters.
std::string JoinPath(std::string_view folder, std::string_view name);

// `path` without trailing "/" and "\" characters; a path made only of separators
// keeps its first one, so "/" stays the root.
std::string StripTrailingSeparators(std::string_view path);

// $name when it is set and not empty, otherwise `fallback`.
std::string EnvironmentOr(const char* name, std::string_view fallback);

// Whether DISPLAY or WAYLAND_DISPLAY names a display to show windows on.
bool HasDisplay();

// This process's user as the account database has it; nullopt without an entry. Safe
// beside other threads (getpwuid_r), also those of libraries that call getpwuid.
struct Account {
  std::string login;
  std::string full_name;  // the first field of the comment ("gecos"), "" where none
  std::string home;
};
std::optional<Account> OwnAccount();

// The user's home folder: $HOME, or the account's home when that is unset or empty.
std::string HomeFolder();

// This machine's name (gethostname); "localhost" where it has none.
std::string HostName();

// The XDG base folders, each from its variable when set and not empty, else from its
// default under HomeFolder(). The one place that reads them.
std::string XdgConfigHome();       // $XDG_CONFIG_HOME, ~/.config
std::string XdgDataHome();         // $XDG_DATA_HOME, ~/.local/share
std::string XdgCacheHome();        // $XDG_CACHE_HOME, ~/.cache
std::string XdgConfigDirsFirst();  // the first of $XDG_CONFIG_DIRS, /etc/xdg
std::string XdgRuntimeDir();       // $XDG_RUNTIME_DIR; "" when unset

// The file of the program that runs, as an absolute path.
std::string RunningProgramPath();

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_PATHS_H_
