#ifndef PARLAVOX_AUDIO_MIXER_H_
#define PARLAVOX_AUDIO_MIXER_H_

#include <string>

#include "audio/sound_devices.h"

namespace parlavox {

// The record sources of the sound devices, for devices numbered as in
// sound_devices.h; a negative device means no device and every operation does nothing.
// Failures are silent. Levels are not the mixer's: they belong to the program's own
// streams (Player::set_level, Recorder::set_level), so nothing of the system's volume
// is ever changed.
class Mixer {
 public:
  virtual ~Mixer() = default;

  virtual int GetRecordSourceCount(int device) = 0;
  // "System Record Mixer" for a negative source (the entry that leaves the mixer
  // alone); "<MIXER INVALID>" when the source doesn't exist; at most 31 characters.
  virtual std::string GetRecordSourceName(int device, int source) = 0;
  // Makes `source` the input of the chosen device (see ResolveDevice); returns the
  // number of sources. Nothing happens for a negative source.
  virtual int SelectRecordSource(const DeviceChoice& device, int source) = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_MIXER_H_
