#ifndef PARLAVOX_AUDIO_MIXER_H_
#define PARLAVOX_AUDIO_MIXER_H_

#include <string>

namespace parlavox {

// The levels and record sources of the sound devices, for devices numbered as in
// sound_devices.h; a negative device means no device and every operation does nothing.
// Levels are whole decibels. Failures are silent.
class Mixer {
 public:
  virtual ~Mixer() = default;

  virtual int GetRecordSourceCount(int device) = 0;
  // "System Record Mixer" for a negative source (the entry that leaves the mixer
  // alone); "<MIXER INVALID>" when the source doesn't exist; at most 31 characters.
  virtual std::string GetRecordSourceName(int device, int source) = 0;
  // Makes `source` the input of `device` at `decibels`, unmuted; returns the number of
  // sources. Nothing happens for a negative source.
  virtual int SelectRecordSource(int device, int source, int decibels) = 0;
  // The program's playback at the master level with the wave level (master +
  // offset) on top.
  virtual void SetOutputVolume(int device, int master_decibels, int wave_offset_decibels) = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_MIXER_H_
