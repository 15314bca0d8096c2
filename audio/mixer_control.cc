#include "audio/mixer_control.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "audio/pulse_connection.h"
#include "audio/sound_devices.h"
#include "audio/wave_out.h"

namespace parlavox {
namespace {

constexpr size_t kMaxName = 31;
constexpr int kMaxSources = 127;
constexpr const char* kInvalidName = "<MIXER INVALID>";

pa_volume_t ServerVolume(double units) {
  return static_cast<pa_volume_t>(units * PA_VOLUME_NORM / 65535.0 + 0.5);
}

std::string Cut(std::string name) {
  if (name.size() > kMaxName) name.resize(kMaxName);
  return name;
}

void SignalDone(pa_context*, int, void*) { PulseConnection::Instance().Signal(); }

// What the mixer needs to know of an input device, or of the streams on an output.
struct DeviceFacts {
  bool input = true;
  std::string name;    // the server's name of the device
  uint32_t index = 0;  // the server's index of the device
  uint8_t channels = 1;
  std::vector<std::string> ports;  // input: port names
  std::vector<std::string> port_descriptions;
  std::vector<uint32_t> streams;  // output: sink inputs playing to it
  std::vector<std::string> stream_names;
  std::vector<uint8_t> stream_channels;
};

void OnServer(pa_context*, const pa_server_info* info, void* facts) {
  auto* f = static_cast<DeviceFacts*>(facts);
  if (info != nullptr) f->name = f->input ? info->default_source_name : info->default_sink_name;
  PulseConnection::Instance().Signal();
}

void OnSource(pa_context*, const pa_source_info* info, int end, void* facts) {
  auto* f = static_cast<DeviceFacts*>(facts);
  if (end == 0 && info != nullptr) {
    f->channels = info->channel_map.channels;
    for (uint32_t i = 0; i < info->n_ports; ++i) {
      f->ports.push_back(info->ports[i]->name);
      f->port_descriptions.push_back(info->ports[i]->description);
    }
  }
  if (end != 0) PulseConnection::Instance().Signal();
}

void OnSink(pa_context*, const pa_sink_info* info, int end, void* facts) {
  if (end == 0 && info != nullptr) static_cast<DeviceFacts*>(facts)->index = info->index;
  if (end != 0) PulseConnection::Instance().Signal();
}

void OnSinkInput(pa_context*, const pa_sink_input_info* info, int end, void* facts) {
  auto* f = static_cast<DeviceFacts*>(facts);
  if (end == 0 && info != nullptr && info->sink == f->index) {
    const char* application = pa_proplist_gets(info->proplist, PA_PROP_APPLICATION_NAME);
    f->streams.push_back(info->index);
    f->stream_names.push_back(application != nullptr ? application : info->name);
    f->stream_channels.push_back(info->channel_map.channels);
  }
  if (end != 0) PulseConnection::Instance().Signal();
}

// Looks the device called `name` ("" for the default) up, main loop locked;
// nullopt when it can't be reached.
std::optional<DeviceFacts> Facts(pa_context* context, const std::string& name, bool input) {
  PulseConnection& pulse = PulseConnection::Instance();
  DeviceFacts facts;
  facts.input = input;
  facts.name = name;
  if (name.empty() && !pulse.Wait(pa_context_get_server_info(context, &OnServer, &facts))) {
    return std::nullopt;
  }
  if (input) {
    if (!pulse.Wait(
            pa_context_get_source_info_by_name(context, facts.name.c_str(), &OnSource, &facts))) {
      return std::nullopt;
    }
    return facts;
  }
  facts.index = PA_INVALID_INDEX;
  if (!pulse.Wait(pa_context_get_sink_info_by_name(context, facts.name.c_str(), &OnSink, &facts)) ||
      facts.index == PA_INVALID_INDEX ||
      !pulse.Wait(pa_context_get_sink_input_info_list(context, &OnSinkInput, &facts))) {
    return std::nullopt;
  }
  return facts;
}

// Calls `use` with the context and the device's facts, main loop locked.
template <typename Use>
auto WithDevice(int device, bool input, Use use) {
  std::optional<std::string> name;
  if (device >= 0) name = input ? InputDeviceName(device) : OutputDeviceName(device);
  PulseLock lock;
  pa_context* context = PulseConnection::Instance().Context();
  std::optional<DeviceFacts> facts;
  if (context != nullptr && name) facts = Facts(context, *name, input);
  return use(context, facts);
}

}  // namespace

uint16_t MixerControl::LevelToUnits(int decibels) {
  if (decibels < -35) return 0;
  return static_cast<uint16_t>(std::min((decibels + 36) * 1424, 65535));
}

int MixerControl::GetRecordSourceCount(int device) {
  return WithDevice(device, true, [](pa_context*, const std::optional<DeviceFacts>& facts) {
    return facts ? std::min(static_cast<int>(facts->ports.size()), kMaxSources) : 0;
  });
}

std::string MixerControl::GetRecordSourceName(int device, int source) {
  if (source < 0) return "System Record Mixer";
  return WithDevice(device, true, [source](pa_context*, const std::optional<DeviceFacts>& facts) {
    if (!facts || source >= static_cast<int>(facts->ports.size())) return std::string(kInvalidName);
    return Cut(facts->port_descriptions[static_cast<size_t>(source)]);
  });
}

int MixerControl::SelectRecordSource(int device, int source, int decibels) {
  if (source < 0) return 0;
  return WithDevice(
      device, true, [&](pa_context* context, const std::optional<DeviceFacts>& facts) {
        if (!facts) return 0;
        PulseConnection& pulse = PulseConnection::Instance();
        pa_cvolume volume;
        pa_cvolume_set(&volume, facts->channels, ServerVolume(LevelToUnits(decibels)));
        pulse.Wait(pa_context_set_source_volume_by_name(context, facts->name.c_str(), &volume,
                                                        &SignalDone, nullptr));
        pulse.Wait(pa_context_set_source_mute_by_name(context, facts->name.c_str(), 0, &SignalDone,
                                                      nullptr));
        if (source < static_cast<int>(facts->ports.size())) {
          pulse.Wait(pa_context_set_source_port_by_name(
              context, facts->name.c_str(), facts->ports[static_cast<size_t>(source)].c_str(),
              &SignalDone, nullptr));
        }
        return static_cast<int>(facts->ports.size());
      });
}

void MixerControl::SetOutputVolume(int device, int master_decibels, int wave_offset_decibels) {
  if (device < 0) return;
  const int wave = std::clamp(master_decibels + wave_offset_decibels, -127, 127);
  WaveOut::SetPlaybackVolume(LevelToUnits(master_decibels) / 65535.0 *
                             (LevelToUnits(wave) / 65535.0));
}

int MixerControl::GetOutputSourceCount(int device) {
  return WithDevice(device, false, [](pa_context*, const std::optional<DeviceFacts>& facts) {
    return facts ? std::min(static_cast<int>(facts->streams.size()), kMaxSources) : 0;
  });
}

std::string MixerControl::GetOutputSourceName(int device, int source) {
  return WithDevice(device, false, [source](pa_context*, const std::optional<DeviceFacts>& facts) {
    if (!facts || source < 0 || source >= static_cast<int>(facts->streams.size())) {
      return std::string(kInvalidName);
    }
    return Cut(facts->stream_names[static_cast<size_t>(source)]);
  });
}

void MixerControl::SetOutputSourceVolume(int device, int source, int decibels) {
  WithDevice(device, false, [&](pa_context* context, const std::optional<DeviceFacts>& facts) {
    if (!facts || source < 0 || source >= static_cast<int>(facts->streams.size())) return;
    const auto at = static_cast<size_t>(source);
    pa_cvolume volume;
    pa_cvolume_set(&volume, facts->stream_channels[at], ServerVolume(LevelToUnits(decibels)));
    PulseConnection& pulse = PulseConnection::Instance();
    pulse.Wait(pa_context_set_sink_input_volume(context, facts->streams[at], &volume, &SignalDone,
                                                nullptr));
    pulse.Wait(
        pa_context_set_sink_input_mute(context, facts->streams[at], 0, &SignalDone, nullptr));
  });
}

}  // namespace parlavox
