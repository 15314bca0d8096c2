#include "settings/startup.h"

#include <sys/stat.h>

#include <filesystem>

#include "util/paths.h"
#include "words/share_name.h"

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
  if (settings.inward_folder() == JoinPath(program_folder, "Incoming") &&
      std::filesystem::create_directory(settings.inward_folder(), ignored)) {
    chmod(settings.inward_folder().c_str(), 01777);  // chmod, not the umask, decides
  }
  return settings;
}

std::string InwardFolderAccessNote(const std::string& inward_folder) {
  if (ParseShareName(inward_folder)) return "";
  struct stat status {};
  if (stat(inward_folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) ||
      (status.st_mode & S_IWOTH) != 0) {
    return "";
  }
  return "Colleagues can't leave messages in your inward folder " + inward_folder +
         " unless it is shared with write access: chmod 1777 '" + inward_folder +
         "' lets everyone on this machine and its shares do so";
}

}  // namespace parlavox
