#ifndef PARLAVOX_SETTINGS_FOLDER_STORE_H_
#define PARLAVOX_SETTINGS_FOLDER_STORE_H_

#include <optional>
#include <string>
#include <string_view>

namespace parlavox {

// Which of the two folder stores a value lives in.
enum class FolderScope { kCurrentUser, kMachine };

// The named folder locations ("DataFiles", "Incoming", "ProgramFiles") in two profile
// files, section "Folders": a per-user one that takes precedence and a machine-wide
// one. A store that can't be written is skipped silently.
class FolderStore {
 public:
  FolderStore(std::string current_user_file, std::string machine_file);

  // $XDG_CONFIG_HOME/parlavox/folders.ini (default ~/.config) over
  // <first of $XDG_CONFIG_DIRS>/parlavox/folders.ini (default /etc/xdg).
  static FolderStore FromEnvironment();

  // The value in one store, cut at 259 characters; nullopt when missing.
  std::optional<std::string> Read(FolderScope scope, std::string_view name) const;
  void Write(FolderScope scope, std::string_view name, std::string_view value);
  void Delete(FolderScope scope, std::string_view name);
  // Whether this process may write the store of `scope` (or make it where it is
  // missing): a person's own store always, the machine's only with the right to.
  bool CanWrite(FolderScope scope) const;

 private:
  const std::string& FileOf(FolderScope scope) const;

  std::string current_user_file_;
  std::string machine_file_;
};

}  // namespace parlavox

#endif  // PARLAVOX_SETTINGS_FOLDER_STORE_H_
