#ifndef PARLAVOX_AUDIO_MIXER_CONTROL_H_
#define PARLAVOX_AUDIO_MIXER_CONTROL_H_

#include <cstdint>
#include <string>

namespace parlavox {

// The mixer on the sound server, for devices numbered as in sound_devices.h; a
// negative device number means no device and every operation does nothing.
// Levels are whole decibels mapped onto mixer units (see LevelToUnits), and units map
// linearly onto the server's volume range. Failures are silent.
//
// Record sources are the ports of an input device; its recording level is that
// device's volume. Playback levels act on the program's own playback streams only,
// never on the system's output volume; the output sources of a device are the
// streams playing to it.
class MixerControl {
 public:
  // Below -35 dB 0, otherwise (dB + 36) x 1424, at most 65535.
  static uint16_t LevelToUnits(int decibels);

  static int GetRecordSourceCount(int device);
  // "Windows Record Mixer" for a negative source (the entry that leaves the mixer
  // alone); "<MIXER INVALID>" when the source doesn't exist; at most 31 characters.
  static std::string GetRecordSourceName(int device, int source);
  // Makes `source` the input of `device` at `decibels`, unmuted; returns the number
  // of sources. Nothing happens for a negative source.
  static int SelectRecordSource(int device, int source, int decibels);

  // The program's playback at the master level with the wave level (master +
  // offset) on top: both act on its own streams, now and from now on.
  static void SetOutputVolume(int device, int master_decibels, int wave_offset_decibels);

  static int GetOutputSourceCount(int device);
  static std::string GetOutputSourceName(int device, int source);
  static void SetOutputSourceVolume(int device, int source, int decibels);
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_MIXER_CONTROL_H_
