#include "setup/install_places.h"

#include <QStandardPaths>

#include "settings/startup.h"
#include "util/paths.h"

namespace parlavox {
InstallPlaces InstallPlaces::ForPerson() {
  const std::string data_home = XdgDataHome();
  InstallPlaces places;
  places.program_folder = ProgramFolder();
  places.data_folder = places.program_folder;
  places.inward_folder = places.data_folder + "/Incoming";
  places.applications_folder = data_home + "/applications";
  places.icon_folder = data_home + "/icons/hicolor/scalable/apps";
  places.autostart_folder = XdgConfigHome() + "/autostart";
  places.desktop_folder =
      QStandardPaths::writableLocation(QStandardPaths::DesktopLocation).toStdString();
  places.folder_scope = FolderScope::kCurrentUser;
  places.shared_data = false;
  return places;
}

InstallPlaces InstallPlaces::ForMachine() {
  InstallPlaces places;
  places.program_folder = "/opt/parlavox";
  places.data_folder = "/var/lib/parlavox";
  places.inward_folder = places.data_folder + "/Incoming";
  places.applications_folder = "/usr/local/share/applications";
  places.icon_folder = "/usr/local/share/icons/hicolor/scalable/apps";
  places.autostart_folder = XdgConfigDirsFirst() + "/autostart";
  places.folder_scope = FolderScope::kMachine;
  places.shared_data = true;
  return places;
}

}  // namespace parlavox
