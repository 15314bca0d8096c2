#ifndef PARLAVOX_SETUP_SETUP_ROLES_H_
#define PARLAVOX_SETUP_SETUP_ROLES_H_

#include <string>
#include <vector>

#include "setup/install_places.h"
#include "setup/role_marker.h"
#include "setup/setup_view.h"

namespace parlavox {

// The command line of the install package and the uninstaller.
struct SetupOptions {
  bool assume_yes = false;    // "--yes": accept the terms and confirm without asking
  bool for_person = false;    // "--user": a person's own install, even as root
  bool for_machine = false;   // "--machine": the machine's install (given to the copy)
  bool second_stage = false;  // "/uninstall": the uninstaller's temporary copy
};
SetupOptions ParseSetupOptions(const std::vector<std::string>& arguments);

// The places this run installs into or removes from, when no option says: the
// package installs for the machine when run as root, else for the person; the
// uninstaller removes the install it belongs to, the machine's when it lies in the
// machine's program folder.
InstallPlaces ChoosePlaces(Role role, const SetupOptions& options, const std::string& own_file);

// Runs the install package's or the uninstaller's task in `view`, after asking a
// running copy to close without its question (and giving it 2000 ms to do so, the
// uninstaller 1500 ms) and storing the program and data folders. `texts` are the
// installer's. True when the task succeeded.
bool RunSetupTask(Role role, const SetupOptions& options, const std::string& own_file,
                  SetupView& view);

}  // namespace parlavox

#endif  // PARLAVOX_SETUP_SETUP_ROLES_H_
