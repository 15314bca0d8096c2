#include "audio/mixer_control.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "audio/pulse_connection.h"
#include "audio/sound_devices.h"

namespace parlavox {
namespace {

constexpr size_t kMaxName = 31;
constexpr int kMaxSources = 127;
constexpr const char* kInvalidName = "<MIXER INVALID>";

std::string Cut(std::string name) {
  if (name.size() > kMaxName) name.resize(kMaxName);
  return name;
}

// What the mixer needs to know of an input device.
struct InputFacts {
  std::string name;                // the server's name of the device
  std::vector<std::string> ports;  // its ports, the record sources
  std::vector<std::string> port_descriptions;
};

void OnServer(pa_context*, const pa_server_info* info, void* facts) {
  if (info != nullptr) static_cast<InputFacts*>(facts)->name = info->default_source_name;
  PulseConnection::Instance().Signal();
}

void OnSource(pa_context*, const pa_source_info* info, int end, void* facts) {
  auto* f = static_cast<InputFacts*>(facts);
  if (end == 0 && info != nullptr) {
    for (uint32_t i = 0; i < info->n_ports; ++i) {
      f->ports.push_back(info->ports[i]->name);
      f->port_descriptions.push_back(info->ports[i]->description);
    }
  }
  if (end != 0) PulseConnection::Instance().Signal();
}

// Looks the input device called `name` ("" for the default) up, main loop locked;
// nullopt when it can't be reached.
std::optional<InputFacts> Facts(pa_context* context, const std::string& name) {
  PulseConnection& pulse = PulseConnection::Instance();
  InputFacts facts;
  facts.name = name;
  if (name.empty() && !pulse.Wait(pa_context_get_server_info(context, &OnServer, &facts))) {
    return std::nullopt;
  }
  if (!pulse.Wait(
          pa_context_get_source_info_by_name(context, facts.name.c_str(), &OnSource, &facts))) {
    return std::nullopt;
  }
  return facts;
}

// Calls `use` with the context and the facts of the input device the server calls
// `name` ("" for the default; nullopt for none), main loop locked.
template <typename Use>
auto WithInput(const std::optional<std::string>& name, Use use) {
  PulseLock lock;
  pa_context* context = PulseConnection::Instance().Context();
  std::optional<InputFacts> facts;
  if (context != nullptr && name) facts = Facts(context, *name);
  return use(context, facts);
}

// The server's name of the input device at `device` in the list; nullopt for none.
std::optional<std::string> NameAt(int device) {
  if (device < 0) return std::nullopt;
  return InputDeviceName(device);
}

}  // namespace

int MixerControl::GetRecordSourceCount(int device) {
  return WithInput(NameAt(device), [](pa_context*, const std::optional<InputFacts>& facts) {
    return facts ? std::min(static_cast<int>(facts->ports.size()), kMaxSources) : 0;
  });
}

std::string MixerControl::GetRecordSourceName(int device, int source) {
  if (source < 0) return "System Record Mixer";
  return WithInput(NameAt(device), [source](pa_context*, const std::optional<InputFacts>& facts) {
    if (!facts || source >= static_cast<int>(facts->ports.size())) return std::string(kInvalidName);
    return Cut(facts->port_descriptions[static_cast<size_t>(source)]);
  });
}

int MixerControl::SelectRecordSource(const DeviceChoice& device, int source) {
  if (source < 0 || device.position < 0) return 0;
  return WithInput(
      ResolveDevice(device, ListInputDevices()),
      [&](pa_context* context, const std::optional<InputFacts>& facts) {
        if (!facts) return 0;
        if (source < static_cast<int>(facts->ports.size())) {
          PulseConnection::Instance().Wait(pa_context_set_source_port_by_name(
              context, facts->name.c_str(), facts->ports[static_cast<size_t>(source)].c_str(),
              &SignalDone, nullptr));
        }
        return static_cast<int>(facts->ports.size());
      });
}

}  // namespace parlavox
