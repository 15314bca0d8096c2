#ifndef PARLAVOX_SETUP_UNINSTALL_TASK_H_
#define PARLAVOX_SETUP_UNINSTALL_TASK_H_

#include <functional>
#include <string>
#include <vector>

#include "settings/folder_store.h"
#include "setup/install_places.h"
#include "setup/launcher.h"
#include "setup/setup_view.h"

namespace parlavox {

// Removes an install from `places`. Started from the program folder (as the menu's
// "Parlavox Uninstall" starts it), it copies itself into a new folder under
// `temporary_folder` and runs that copy "/uninstall" in its place, so that nothing
// runs from the program folder while it is removed. The copy asks the person, then
// removes start at login, the desktop shortcut, the uninstall entry, the menu entries
// and the icon, and the stored "Incoming", "DataFiles" and "ProgramFiles" folders with
// the files in them. The service unit, the stored folder values and the temporary
// copy stay.
class UninstallTask {
 public:
  // `agreed` runs once the person has agreed, before anything is removed.
  UninstallTask(InstallPlaces places, FolderStore& folders, Launcher& launcher,
                std::string own_file, std::string temporary_folder,
                std::function<void()> agreed = {})
      : places_(std::move(places)),
        folders_(folders),
        launcher_(launcher),
        own_file_(std::move(own_file)),
        temporary_folder_(std::move(temporary_folder)),
        agreed_(std::move(agreed)) {}

  // `second_stage`: this is the copy started "/uninstall". `passed_on`: the arguments
  // the copy gets besides "/uninstall". True when the first stage handed over or the
  // install was removed.
  bool Run(SetupView& view, bool second_stage, const std::vector<std::string>& passed_on);

 private:
  bool HandOver(const std::vector<std::string>& passed_on);
  void Remove(SetupView& view);

  const InstallPlaces places_;
  FolderStore& folders_;
  Launcher& launcher_;
  const std::string own_file_;
  const std::string temporary_folder_;
  const std::function<void()> agreed_;
};

}  // namespace parlavox

#endif  // PARLAVOX_SETUP_UNINSTALL_TASK_H_
