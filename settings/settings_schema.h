#ifndef PARLAVOX_SETTINGS_SETTINGS_SCHEMA_H_
#define PARLAVOX_SETTINGS_SETTINGS_SCHEMA_H_

#include <string_view>

namespace parlavox {

// The sections and keys of settings.ini, which Windows and Linux copies share: the one
// place that names them.

inline constexpr std::string_view kSettingsSection = "settings";
inline constexpr std::string_view kUsersSection = "users";
inline constexpr std::string_view kKeysSection = "keys";

// "settings": the sound devices (their places in the device lists, with the server's
// name beside under the same key + "name"), the record source and the levels.
namespace settings_key {
inline constexpr std::string_view kOutputDevice = "soundoutdevice";
inline constexpr std::string_view kOutputLevel = "soundoutvolume";
inline constexpr std::string_view kInputDevice = "soundindevice";
inline constexpr std::string_view kRecordSource = "soundinchannel";
inline constexpr std::string_view kInputLevel = "soundinvolume";
}  // namespace settings_key

// "users": numbered lists, "<prefix>count" and "<prefix><index>".
namespace users_key {
inline constexpr std::string_view kFolder = "folder";  // the user's inward folder
inline constexpr std::string_view kName = "name";      // as the poller last read them
inline constexpr std::string_view kOn = "on";
inline constexpr std::string_view kId = "id";
}  // namespace users_key

// "keys": numbered lists of hot keys.
namespace keys_key {
inline constexpr std::string_view kKey = "key";          // the virtual key
inline constexpr std::string_view kModifiers = "mod";    // as "key%dmod"
inline constexpr std::string_view kCommand = "command";  // words/hot_key_commands.h
}  // namespace keys_key

}  // namespace parlavox

#endif  // PARLAVOX_SETTINGS_SETTINGS_SCHEMA_H_
