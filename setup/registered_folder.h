#ifndef PARLAVOX_SETUP_REGISTERED_FOLDER_H_
#define PARLAVOX_SETUP_REGISTERED_FOLDER_H_

#include <sys/types.h>

#include <string>
#include <string_view>

#include "settings/folder_store.h"

namespace parlavox {

// Who may write a folder the installer makes.
enum class FolderAccess {
  kOwner,           // the program folder: only its owner
  kEveryone,        // shared data: every user may add, change and remove files
  kEveryoneSticky,  // a person's inward folder: every user may add files; only the
                    // owner removes others' files
};

// Creates `folder` and its parents with `access` (an existing folder is left as it is)
// and stores it in `folders` under `name`. Failures are ignored.
void RegisterFolder(FolderStore& folders, FolderScope scope, std::string_view name,
                    const std::string& folder, FolderAccess access);

// Which files of a registered folder the uninstaller may take.
enum class FolderContents {
  kAll,       // the program and data folders: every file directly in them
  kMessages,  // an inward folder the person may have chosen: only the record and
              // messages ("<number>.wav") that Parlavox made there
};

// Removes the folder stored under `name`: the files `contents` allows (never what is
// in its subfolders), then the folder itself when that left it empty; the stored value
// is dropped when it still names `installed`, the folder the install stored. Returns a
// sentence naming the folder when it was left because other files remain; empty
// otherwise. Other failures are ignored.
std::string DeleteRegisteredFolder(FolderStore& folders, FolderScope scope, std::string_view name,
                                   FolderContents contents, const std::string& installed);

}  // namespace parlavox

#endif  // PARLAVOX_SETUP_REGISTERED_FOLDER_H_
