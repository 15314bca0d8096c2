#ifndef PARLAVOX_SETTINGS_STARTUP_H_
#define PARLAVOX_SETTINGS_STARTUP_H_

#include <string>

#include "settings/folder_store.h"
#include "settings/settings_file.h"

namespace parlavox {

// Where a user's copy keeps its data: $XDG_DATA_HOME/parlavox, by default
// ~/.local/share/parlavox: settings.ini and, unless another folder is set, the inward
// folder; a one-file install for the person puts the program there too.
std::string ProgramFolder();

// Makes the folder that holds the running program the current directory, so that a
// folder given without a leading "/" always means the same place, wherever the
// program was started from.
void MakeProgramFolderCurrent();

// Creates the program folder and locates settings.ini and the inward folder; when no
// inward folder is recorded, the default one is used and made where it is missing, with
// mode 01777: colleagues may drop messages in it, and only its owner may delete
// others' files.
SettingsFile LocateSettings(const FolderStore& folders);

// A sentence for the person when their inward folder is one of this machine's (or a
// mounted one) that colleagues can't write into, with the command that fixes it; ""
// when they can, or when it is not there or named as on a share.
std::string InwardFolderAccessNote(const std::string& inward_folder);

}  // namespace parlavox

#endif  // PARLAVOX_SETTINGS_STARTUP_H_
