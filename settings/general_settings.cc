#include "settings/general_settings.h"

#include <cstdint>

#include "settings/device_setting.h"
#include "util/paths.h"

namespace parlavox {

GeneralSettings LoadGeneralSettings(const SettingsFile& settings, const FolderStore& folders,
                                    const StartAtLogin& login) {
  GeneralSettings page;
  page.output_device = ReadDeviceChoice(settings, "soundoutdevice");
  page.output_level = settings.ReadDecibels(kSettingsSection, "soundoutvolume", 0);
  page.input_device = ReadDeviceChoice(settings, "soundindevice");
  page.source_line = settings.ReadInt(kSettingsSection, "soundinchannel", -1) + 1;
  page.input_level = settings.ReadDecibels(kSettingsSection, "soundinvolume", 0);
  page.inward_folder = settings.inward_folder();
  page.for_everyone_possible = folders.CanWrite(FolderScope::kMachine);
  page.current_user_only = settings.current_user_only() || !page.for_everyone_possible;
  page.start_at_login = login.IsOn();
  return page;
}

void SaveGeneralSettings(const GeneralSettings& page, SettingsFile& settings,
                         const FolderStore& folders, StartAtLogin& login) {
  WriteDeviceChoice(settings, "soundoutdevice", page.output_device);
  settings.WriteDecibels(kSettingsSection, "soundoutvolume", page.output_level);
  WriteDeviceChoice(settings, "soundindevice", page.input_device);
  settings.WriteInt(kSettingsSection, "soundinchannel",
                    page.source_line < 0 ? -2 : page.source_line - 1);
  settings.WriteDecibels(kSettingsSection, "soundinvolume", page.input_level);
  if (page.folder_changed) {
    settings.SetInwardFolder(folders, page.inward_folder.substr(0, kMaxPath),
                             page.current_user_only || !folders.CanWrite(FolderScope::kMachine));
  }
  if (page.start_at_login != login.IsOn()) login.Set(page.start_at_login);
}

}  // namespace parlavox
