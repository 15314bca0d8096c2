#ifndef PARLAVOX_SETUP_REGISTERED_FOLDER_H_
#define PARLAVOX_SETUP_REGISTERED_FOLDER_H_

#include <sys/types.h>

#include <string>
#include <string_view>

#include "app/folder_store.h"

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
void RegisterFolder(const FolderStore& folders, FolderScope scope, std::string_view name,
                    const std::string& folder, FolderAccess access);

// Removes the folder stored under `name`: every file directly in it (not what is in
// its subfolders), then the folder itself when that left it empty. The stored value
// stays. Failures are ignored.
void DeleteRegisteredFolder(const FolderStore& folders, FolderScope scope, std::string_view name);

}  // namespace parlavox

#endif  // PARLAVOX_SETUP_REGISTERED_FOLDER_H_
