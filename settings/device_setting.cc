#include "settings/device_setting.h"

#include <cstdint>
#include <string>

namespace parlavox {
namespace {

std::string NameKey(std::string_view key) { return std::string(key) + "name"; }

}  // namespace

DeviceChoice ReadDeviceChoice(const SettingsFile& settings, std::string_view key) {
  return {static_cast<int8_t>(settings.ReadInt(kSettingsSection, key, 0)),
          settings.ReadText(kSettingsSection, NameKey(key), "")};
}

void WriteDeviceChoice(SettingsFile& settings, std::string_view key, const DeviceChoice& device) {
  settings.WriteInt(kSettingsSection, key, static_cast<int8_t>(device.position));
  settings.WriteText(kSettingsSection, NameKey(key), device.name);
}

}  // namespace parlavox
