#include "setup/setup_roles.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "control/control_channel.h"
#include "setup/embedded_texts.h"
#include "setup/install_task.h"
#include "setup/launcher.h"
#include "setup/package.h"
#include "setup/uninstall_task.h"
#include "util/paths.h"

namespace parlavox {

SetupOptions ParseSetupOptions(const std::vector<std::string>& arguments) {
  SetupOptions options;
  for (const std::string& argument : arguments) {
    if (argument == "--yes") options.assume_yes = true;
    if (argument == "--user") options.for_person = true;
    if (argument == "--machine") options.for_machine = true;
    if (argument == "/uninstall") options.second_stage = true;
  }
  return options;
}

InstallPlaces ChoosePlaces(Role role, const SetupOptions& options, const std::string& own_file) {
  if (options.for_person) return InstallPlaces::ForPerson();
  InstallPlaces machine = InstallPlaces::ForMachine();
  if (options.for_machine) return machine;
  if (role == Role::kInstallPackage) {
    return geteuid() == 0 ? machine : InstallPlaces::ForPerson();
  }
  const bool machines_uninstaller =
      std::filesystem::path(own_file).parent_path() == machine.program_folder;
  return machines_uninstaller ? machine : InstallPlaces::ForPerson();
}

bool RunSetupTask(Role role, const SetupOptions& options, const std::string& own_file,
                  SetupView& view) {
  const InstallPlaces places = ChoosePlaces(role, options, own_file);
  if (places.folder_scope == FolderScope::kMachine && geteuid() != 0) {
    view.ShowError(kInstallErrorCaption,
                   "Installing or removing Parlavox for every user needs root (try sudo).");
    return false;
  }
  if (role == Role::kInstallPackage && VerifyPayload(own_file, kPayload) != Extraction::kDone) {
    view.ShowError(kInstallErrorCaption, kCorruptPackageText);  // nothing touched
    return false;
  }
  FolderStore folders = FolderStore::FromEnvironment();
  // Nothing changes, and a running copy goes on, until the person has agreed.
  const auto agreed = [&places, &folders, &view, role] {
    if (SendControlRequest(ControlSocketPath(), "quit", std::chrono::seconds(5))) {
      // The copy gets time to end; the view stays painted meanwhile.
      const auto until = std::chrono::steady_clock::now() +
                         std::chrono::milliseconds(role == Role::kInstallPackage ? 2000 : 1500);
      while (std::chrono::steady_clock::now() < until) {
        view.Cancelled();
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
      }
    }
    PrepareSetup(places, folders);
  };
  ProcessLauncher launcher;
  if (role == Role::kInstallPackage) {
    InstallTask task(places, folders, launcher, own_file,
                     {std::string(kLicenceText), std::string(kProgramIconSvg)}, agreed);
    return task.Run(view);
  }
  UninstallTask task(places, folders, launcher, own_file, EnvironmentOr("TMPDIR", "/tmp"), agreed);
  std::vector<std::string> passed_on = {places.folder_scope == FolderScope::kMachine ? "--machine"
                                                                                     : "--user"};
  if (options.assume_yes) passed_on.push_back("--yes");
  return task.Run(view, options.second_stage, passed_on);
}

}  // namespace parlavox
