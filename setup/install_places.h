#ifndef PARLAVOX_SETUP_INSTALL_PLACES_H_
#define PARLAVOX_SETUP_INSTALL_PLACES_H_

#include <string>

#include "settings/folder_store.h"

namespace parlavox {

// Where an install puts everything: a person's own install (run as a normal user), or
// the machine's (run as root).
struct InstallPlaces {
  // The program, its help and its uninstaller. Nobody but its owner may write it.
  std::string program_folder;
  // "DataFiles": the person's settings; for the machine, settings every user shares.
  std::string data_folder;
  // "Incoming", the inward folder that other users' copies write to.
  std::string inward_folder;
  // Menu entries, the program's icon, autostart entries.
  std::string applications_folder;
  std::string icon_folder;
  std::string autostart_folder;
  // Where the desktop shortcut goes; empty for none.
  std::string desktop_folder;
  // Which folder store gets "ProgramFiles", "DataFiles" and "Incoming".
  FolderScope folder_scope = FolderScope::kCurrentUser;
  // Whether every user of the machine may write the data folder too.
  bool shared_data = false;

  // $XDG_DATA_HOME/parlavox (~/.local/share/parlavox) for program and data, the
  // person's menu and autostart folders, and the desktop folder the desktop names.
  static InstallPlaces ForPerson();
  // /opt/parlavox, data in /var/lib/parlavox, the machine's menu and autostart folders.
  static InstallPlaces ForMachine();

  std::string program() const { return program_folder + "/parlavox"; }
  std::string help() const { return program_folder + "/parlavox-help.html"; }
  std::string uninstaller() const { return program_folder + "/parlavox-uninstall"; }
  std::string menu_entry() const { return applications_folder + "/parlavox.desktop"; }
  std::string help_entry() const { return applications_folder + "/parlavox-help.desktop"; }
  std::string uninstall_entry() const {
    return applications_folder + "/parlavox-uninstall.desktop";
  }
  std::string icon() const { return icon_folder + "/parlavox.svg"; }
  std::string desktop_shortcut() const {
    return desktop_folder.empty() ? "" : desktop_folder + "/parlavox.desktop";
  }
};

}  // namespace parlavox

#endif  // PARLAVOX_SETUP_INSTALL_PLACES_H_
