#include "settings/folder_store.h"

#include <unistd.h>

#include <filesystem>

#include "settings/profile_file.h"
#include "util/paths.h"

namespace parlavox {
namespace {

constexpr std::string_view kSection = "Folders";

}  // namespace

FolderStore::FolderStore(std::string current_user_file, std::string machine_file)
    : current_user_file_(std::move(current_user_file)), machine_file_(std::move(machine_file)) {}

FolderStore FolderStore::FromEnvironment() {
  return FolderStore(XdgConfigHome() + "/parlavox/folders.ini",
                     XdgConfigDirsFirst() + "/parlavox/folders.ini");
}

std::optional<std::string> FolderStore::Read(FolderScope scope, std::string_view name) const {
  return FindProfileString(FileOf(scope), kSection, name, kMaxPath);
}

void FolderStore::Write(FolderScope scope, std::string_view name, std::string_view value) {
  const std::string& file = FileOf(scope);
  std::error_code ignored;
  std::filesystem::create_directories(std::filesystem::path(file).parent_path(), ignored);
  WriteProfileString(file, kSection, name, value);
}

bool FolderStore::CanWrite(FolderScope scope) const {
  // The file itself, or else the nearest folder above it that exists.
  std::filesystem::path place = FileOf(scope);
  std::error_code error;
  while (!place.empty() && !std::filesystem::exists(place, error)) {
    if (place == place.parent_path()) break;
    place = place.parent_path();
  }
  return access(place.c_str(), W_OK) == 0;
}

void FolderStore::Delete(FolderScope scope, std::string_view name) {
  WriteProfileString(FileOf(scope), kSection, name, std::nullopt);
}

const std::string& FolderStore::FileOf(FolderScope scope) const {
  return scope == FolderScope::kCurrentUser ? current_user_file_ : machine_file_;
}

}  // namespace parlavox
