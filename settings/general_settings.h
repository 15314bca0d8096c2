#ifndef PARLAVOX_SETTINGS_GENERAL_SETTINGS_H_
#define PARLAVOX_SETTINGS_GENERAL_SETTINGS_H_

#include <string>

#include "audio/sound_devices.h"
#include "settings/folder_store.h"
#include "settings/settings_file.h"
#include "settings/start_at_login.h"

namespace parlavox {

// What the General page of the settings shows, and how leaving it saves it.
struct GeneralSettings {
  // The devices: the line of their list (-1 for none) and their server names.
  DeviceChoice output_device;
  int output_level = 0;  // dB
  DeviceChoice input_device;
  // The line of the record-source list: 0 is the mixer line ("System Record Mixer",
  // which leaves the levels to the desktop), n + 1 is source n; -1 for none.
  int source_line = 0;
  int input_level = 0;  // dB
  std::string inward_folder;
  bool folder_changed = false;  // the path was edited or a folder browsed
  bool current_user_only = false;
  // Whether a folder for every user of the computer can be kept: the machine-wide
  // folder store is writable. When not, changes are the person's own.
  bool for_everyone_possible = true;
  bool start_at_login = false;
};

GeneralSettings LoadGeneralSettings(const SettingsFile& settings, const FolderStore& folders,
                                    const StartAtLogin& login);

// Writes the page: devices as their lines (signed 8-bit values) and names, the source
// line less one
// ("soundinchannel" -1 for the mixer line, -2 for none), the levels as decibels; the
// inward folder only when its path was changed (a change of "for all users" or "for
// me only" alone writes nothing); start at login only when it differs.
void SaveGeneralSettings(const GeneralSettings& page, SettingsFile& settings, FolderStore& folders,
                         StartAtLogin& login);

}  // namespace parlavox

#endif  // PARLAVOX_SETTINGS_GENERAL_SETTINGS_H_
