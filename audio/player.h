#ifndef PARLAVOX_AUDIO_PLAYER_H_
#define PARLAVOX_AUDIO_PLAYER_H_

#include <cstdint>
#include <memory>

#include "audio/channel_levels.h"
#include "audio/sound_devices.h"
#include "audio/wave_file.h"

namespace parlavox {

// What a player tells its owner, always on the owner's thread, with the owner's
// cookie. Times are in 1/10000 s.
class LSoundPlayerListener {
 public:
  virtual ~LSoundPlayerListener() = default;
  virtual void OnPlayStarted(uint32_t /*cookie*/) {}
  virtual void OnPlayStopped(uint32_t /*cookie*/) {}
  virtual void OnPlayPosition(int32_t /*time*/, uint32_t /*cookie*/) {}
  virtual void OnPlayLevels(const ChannelLevels& /*levels*/, uint32_t /*cookie*/) {}
};

// Plays one WaveFileReader at a time on an output device, also while its file still
// grows, and reports to its listener. Called from the owner's thread only.
class Player {
 public:
  virtual ~Player() = default;

  virtual void SetListener(LSoundPlayerListener* listener, uint32_t cookie) = 0;
  // The output device to play on, found anew at each Play (see ResolveDevice).
  virtual void set_device(const DeviceChoice& device) = 0;
  // The gain of what Play starts next, in decibels (-127: silent); the program's own
  // stream has it from its first sample, and nothing of the system's volume changes.
  virtual void set_level(int decibels) = 0;
  // Whether levels are measured and reported while playing.
  virtual void set_metering(bool enabled) = 0;

  // Stops what plays (the listener hears OnPlayStopped), then plays `reader` from its
  // position. False when the reader is missing or invalid or the device can't be
  // opened. The end of the data, a device that stalls or one the sound server drops
  // end playback with OnPlayStopped.
  virtual bool Play(std::shared_ptr<WaveFileReader> reader) = 0;
  virtual void StopPlayback() = 0;
  virtual bool is_open() const = 0;
  // The silence a message needs before its first sample, so that none of it is lost
  // while the device starts and a message still growing does not break off each time
  // a piece of it comes late, as a negative time in 1/10000 s (0 for none).
  virtual int32_t LeadIn() const = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_PLAYER_H_
