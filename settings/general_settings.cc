#include "settings/general_settings.h"

#include <cstdint>

#include "settings/device_setting.h"
#include "util/paths.h"

namespace parlavox {

GeneralSettings LoadGeneralSettings(const SettingsFile& settings, const FolderStore& folders,
                                    const StartAtLogin& login) {
  GeneralSettings page;
  page.output_device = ReadDeviceChoice(settings, settings_key::kOutputDevice);
  page.output_level = settings.ReadDecibels(kSettingsSection, settings_key::kOutputLevel, 0);
  page.input_device = ReadDeviceChoice(settings, settings_key::kInputDevice);
  page.source_line = settings.ReadInt(kSettingsSection, settings_key::kRecordSource, -1) + 1;
  page.input_level = settings.ReadDecibels(kSettingsSection, settings_key::kInputLevel, 0);
  page.inward_folder = settings.inward_folder();
  page.for_everyone_possible = folders.CanWrite(FolderScope::kMachine);
  page.current_user_only = settings.current_user_only() || !page.for_everyone_possible;
  page.start_at_login = login.IsOn();
  return page;
}

void SaveGeneralSettings(const GeneralSettings& page, SettingsFile& settings, FolderStore& folders,
                         StartAtLogin& login) {
  WriteDeviceChoice(settings, settings_key::kOutputDevice, page.output_device);
  settings.WriteDecibels(kSettingsSection, settings_key::kOutputLevel, page.output_level);
  WriteDeviceChoice(settings, settings_key::kInputDevice, page.input_device);
  settings.WriteInt(kSettingsSection, settings_key::kRecordSource,
                    page.source_line < 0 ? -2 : page.source_line - 1);
  settings.WriteDecibels(kSettingsSection, settings_key::kInputLevel, page.input_level);
  if (page.folder_changed) {
    settings.SetInwardFolder(folders, page.inward_folder.substr(0, kMaxPath),
                             page.current_user_only || !folders.CanWrite(FolderScope::kMachine));
  }
  if (page.start_at_login != login.IsOn()) login.Set(page.start_at_login);
}

}  // namespace parlavox
