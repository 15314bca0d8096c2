#include "setup/registered_folder.h"

#include <sys/stat.h>

#include <filesystem>

namespace parlavox {

void RegisterFolder(const FolderStore& folders, FolderScope scope, std::string_view name,
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

void DeleteRegisteredFolder(const FolderStore& folders, FolderScope scope, std::string_view name) {
  const std::optional<std::string> folder = folders.Read(scope, name);
  if (!folder || folder->empty()) return;
  std::error_code error;
  for (const auto& item : std::filesystem::directory_iterator(*folder, error)) {
    if (!item.is_directory(error)) std::filesystem::remove(item.path(), error);
  }
  std::filesystem::remove(*folder, error);  // only when empty
}

}  // namespace parlavox
