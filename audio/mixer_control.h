#ifndef PARLAVOX_AUDIO_MIXER_CONTROL_H_
#define PARLAVOX_AUDIO_MIXER_CONTROL_H_

#include <cstdint>
#include <string>

#include "audio/mixer.h"

namespace parlavox {

// The Mixer on the sound server: record sources are the ports of an input device.
// Every operation is a round trip to the server.
class MixerControl : public Mixer {
 public:
  int GetRecordSourceCount(int device) override;
  std::string GetRecordSourceName(int device, int source) override;
  int SelectRecordSource(const DeviceChoice& device, int source) override;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_MIXER_CONTROL_H_
