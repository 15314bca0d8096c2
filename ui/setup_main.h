#ifndef PARLAVOX_UI_SETUP_MAIN_H_
#define PARLAVOX_UI_SETUP_MAIN_H_

#include "setup/role_marker.h"

namespace parlavox {

// Runs a start as the install package, the uninstaller or a damaged package: in
// dialogs where there is a display, on the terminal where there is none. Returns the
// exit code: 0 when the task succeeded (or a damaged package said so), 1 when it
// failed or was declined or cancelled.
int RunSetupRole(Role role, int argc, char** argv);

}  // namespace parlavox

#endif  // PARLAVOX_UI_SETUP_MAIN_H_
