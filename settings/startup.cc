#include "settings/startup.h"

#include <filesystem>

#include "util/paths.h"

namespace parlavox {

void MakeProgramFolderCurrent() {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (!error) std::filesystem::current_path(program.parent_path(), error);
}

std::string ProgramFolder() { return XdgDataHome() + "/parlavox"; }

SettingsFile LocateSettings(const FolderStore& folders) {
  const std::string program_folder = ProgramFolder();
  std::error_code ignored;
  std::filesystem::create_directories(program_folder, ignored);
  SettingsFile settings;
  settings.LocateFolders(folders, program_folder);
  if (settings.inward_folder() == JoinPath(program_folder, "Incoming")) {
    std::filesystem::create_directory(settings.inward_folder(), ignored);
  }
  return settings;
}

}  // namespace parlavox
