#ifndef PARLAVOX_SETTINGS_DEVICE_SETTING_H_
#define PARLAVOX_SETTINGS_DEVICE_SETTING_H_

#include <string_view>

#include "audio/sound_devices.h"
#include "settings/settings_file.h"

namespace parlavox {

// A sound device in the "settings" section: its place in the device list under `key`
// ("soundoutdevice", "soundindevice"), a signed 8-bit number as every copy of the
// program reads it, and beside it, under `key` + "name", the sound server's name of
// the device, which Linux copies use to find it again wherever it is in the list.
DeviceChoice ReadDeviceChoice(const SettingsFile& settings, std::string_view key);
void WriteDeviceChoice(SettingsFile& settings, std::string_view key, const DeviceChoice& device);

}  // namespace parlavox

#endif  // PARLAVOX_SETTINGS_DEVICE_SETTING_H_
