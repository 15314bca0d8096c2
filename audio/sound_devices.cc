#include "audio/sound_devices.h"

#include "audio/pulse_connection.h"

namespace parlavox {
namespace {

constexpr const char* kDefaultDescription = "System default";

struct Listing {
  std::vector<SoundDevice>* devices;
};

template <typename Info>
void Collect(pa_context*, const Info* info, int end, void* listing) {
  if (end == 0 && info != nullptr) {
    static_cast<Listing*>(listing)->devices->push_back(
        {info->name, info->description != nullptr ? info->description : info->name});
  }
  if (end != 0) PulseConnection::Instance().Signal();
}

std::vector<SoundDevice> List(bool outputs) {
  std::vector<SoundDevice> devices = {{"", kDefaultDescription}};
  PulseLock lock;
  PulseConnection& pulse = PulseConnection::Instance();
  pa_context* context = pulse.Context();
  if (context == nullptr) return devices;
  Listing listing{&devices};
  pulse.Wait(outputs
                 ? pa_context_get_sink_info_list(context, &Collect<pa_sink_info>, &listing)
                 : pa_context_get_source_info_list(context, &Collect<pa_source_info>, &listing));
  return devices;
}

}  // namespace

std::string ResolveDevice(const DeviceChoice& choice, const std::vector<SoundDevice>& devices) {
  if (!choice.name.empty()) {
    for (const SoundDevice& device : devices) {
      if (device.server_name == choice.name) return choice.name;
    }
    return "";
  }
  if (choice.position <= 0 || choice.position >= static_cast<int>(devices.size())) return "";
  return devices[static_cast<size_t>(choice.position)].server_name;
}

std::vector<SoundDevice> ListOutputDevices() { return List(true); }
std::vector<SoundDevice> ListInputDevices() { return List(false); }

std::optional<std::string> InputDeviceName(int index) {
  if (index <= 0) return "";
  const std::vector<SoundDevice> devices = ListInputDevices();
  if (index >= static_cast<int>(devices.size())) return std::nullopt;
  return devices[static_cast<size_t>(index)].server_name;
}

}  // namespace parlavox
