#ifndef PARLAVOX_AUDIO_SOUND_DEVICES_H_
#define PARLAVOX_AUDIO_SOUND_DEVICES_H_

#include <optional>
#include <string>
#include <vector>

namespace parlavox {

// One entry of a device list: the sound server's name for the device (empty for the
// system's default device) and its description, which is what the person sees.
struct SoundDevice {
  std::string server_name;
  std::string description;
};

// The devices a person can choose from: entry 0 is the system's default device, then
// every output (sink) or input (source, monitors included) of the server, in the
// server's order. Only the default entry when no server answers.
std::vector<SoundDevice> ListOutputDevices();
std::vector<SoundDevice> ListInputDevices();

// The server's name for the input device at `index` of its list; 0 and every negative
// index mean the default device (""). nullopt when there is no such device.
std::optional<std::string> InputDeviceName(int index);

// A device as the settings keep it: by the server's name when one was chosen, and by
// its place in the list, which is all that settings written elsewhere may hold.
struct DeviceChoice {
  int position = 0;  // 0 or less: the default device
  std::string name;  // empty: none was chosen by name
};

// The server's name of the device to use now ("" for the desktop's default): the one
// named, when it is there; the default when it is missing (unplugged), so that sound
// never goes to another device by its place; by place only when no name was kept, the
// default when that place is past the list.
std::string ResolveDevice(const DeviceChoice& choice, const std::vector<SoundDevice>& devices);

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_SOUND_DEVICES_H_
