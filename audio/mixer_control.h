#ifndef PARLAVOX_AUDIO_MIXER_CONTROL_H_
#define PARLAVOX_AUDIO_MIXER_CONTROL_H_

#include <cstdint>
#include <string>

#include "audio/mixer.h"

namespace parlavox {

// The Mixer on the sound server. Every operation is a round trip to the server.
//
// Record sources are the ports of an input device; its recording level is that
// device's volume. Playback levels act on the program's own playback streams only,
// never on the system's output volume; the output sources of a device are the
// streams playing to it. Units map linearly onto the server's volume range.
class MixerControl : public Mixer {
 public:
  // Below -35 dB 0, otherwise (dB + 36) x 1424, at most 65535.
  static uint16_t LevelToUnits(int decibels);

  int GetRecordSourceCount(int device) override;
  std::string GetRecordSourceName(int device, int source) override;
  // Returns the number of sources.
  int SelectRecordSource(int device, int source, int decibels) override;
  // Both levels act on the program's streams, now and from now on.
  void SetOutputVolume(int device, int master_decibels, int wave_offset_decibels) override;

  int GetOutputSourceCount(int device);
  std::string GetOutputSourceName(int device, int source);
  void SetOutputSourceVolume(int device, int source, int decibels);
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_MIXER_CONTROL_H_
