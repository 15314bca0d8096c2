#ifndef PARLAVOX_SETUP_INSTALL_TASK_H_
#define PARLAVOX_SETUP_INSTALL_TASK_H_

#include <functional>
#include <string>

#include "settings/folder_store.h"
#include "setup/install_places.h"
#include "setup/launcher.h"
#include "setup/setup_view.h"

namespace parlavox {

// What the installer carries besides its payload.
struct InstallTexts {
  std::string terms;     // the licence the person accepts
  std::string icon_svg;  // the program's icon for menus and the desktop
};

// Before either task: the program and data folders exist and are stored as
// "ProgramFiles" and "DataFiles".
void PrepareSetup(const InstallPlaces& places, FolderStore& folders);

// Installs from the package `package` (the running file) into `places`: the person
// accepts the terms (a person's inward folder is made and stored as "Incoming"; a
// machine install leaves each person to make their own at their first start), the payload
// is extracted with its progress shown, and when its checksum holds the uninstaller
// copy, the role markers, the menu entries, the desktop shortcut, start at login and
// the uninstall entry (only when there is none yet) are made, and the installed
// program is started "/install" (not when root installs for every user: an intercom
// is a person's). Declining, cancelling or an unreadable package end
// it silently; a damaged package says so. True when everything was installed.
class InstallTask {
 public:
  // `agreed` runs once the terms are accepted, before anything is changed.
  InstallTask(InstallPlaces places, FolderStore& folders, Launcher& launcher, std::string package,
              InstallTexts texts, std::function<void()> agreed = {})
      : places_(std::move(places)),
        folders_(folders),
        launcher_(launcher),
        package_(std::move(package)),
        texts_(std::move(texts)),
        agreed_(std::move(agreed)) {}

  bool Run(SetupView& view);

 private:
  void Finish();

  const InstallPlaces places_;
  FolderStore& folders_;
  Launcher& launcher_;
  const std::string package_;
  const InstallTexts texts_;
  const std::function<void()> agreed_;
};

}  // namespace parlavox

#endif  // PARLAVOX_SETUP_INSTALL_TASK_H_
