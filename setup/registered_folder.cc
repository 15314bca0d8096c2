#include "setup/registered_folder.h"

#include <strings.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>

namespace parlavox {

void RegisterFolder(FolderStore& folders, FolderScope scope, std::string_view name,
                    const std::string& folder, FolderAccess access) {
  std::error_code error;
  if (!std::filesystem::exists(folder, error)) {
    std::filesystem::create_directories(folder, error);
    // chmod, not the umask, decides: sharing is the point of these folders.
    const mode_t mode = access == FolderAccess::kOwner      ? 0755
                        : access == FolderAccess::kEveryone ? 0777
                                                            : 01777;
    chmod(folder.c_str(), mode);
  }
  folders.Write(scope, name, folder);
}

namespace {

// The own record, or a message: digits (after an optional minus) and ".wav".
bool IsParlavoxFile(const std::string& name) {
  if (name == "ParlavoxUserData") return true;
  if (name.size() <= 4 || strcasecmp(name.c_str() + name.size() - 4, ".wav") != 0) return false;
  const size_t start = name[0] == '-' ? 1 : 0;
  const std::string number = name.substr(start, name.size() - 4 - start);
  return !number.empty() &&
         std::all_of(number.begin(), number.end(), [](char c) { return c >= '0' && c <= '9'; });
}

}  // namespace

std::string DeleteRegisteredFolder(FolderStore& folders, FolderScope scope, std::string_view name,
                                   FolderContents contents, const std::string& installed) {
  const std::optional<std::string> folder = folders.Read(scope, name);
  if (!folder || folder->empty()) return "";
  if (*folder == installed) folders.Delete(scope, name);
  std::error_code error;
  for (const auto& item : std::filesystem::directory_iterator(*folder, error)) {
    if (item.is_directory(error)) continue;
    if (contents == FolderContents::kMessages && !IsParlavoxFile(item.path().filename())) continue;
    std::filesystem::remove(item.path(), error);
  }
  if (std::filesystem::remove(*folder, error) || !std::filesystem::exists(*folder, error)) {
    return "";
  }
  return "Left " + *folder + ": it holds files that Parlavox did not make";
}

}  // namespace parlavox
