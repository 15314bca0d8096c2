#ifndef PARLAVOX_AUDIO_RECORDER_H_
#define PARLAVOX_AUDIO_RECORDER_H_

#include <cstdint>
#include <memory>

#include "audio/channel_levels.h"
#include "audio/sound_devices.h"
#include "audio/wave_file.h"

namespace parlavox {

// What a recorder tells its owner, on the owner's thread, with the owner's cookie.
// Times are in 1/10000 s.
class LSoundRecorderListener {
 public:
  virtual ~LSoundRecorderListener() = default;
  virtual void OnRecordStarted(uint32_t /*cookie*/) {}
  virtual void OnRecordWaiting(uint32_t /*cookie*/) {}
  virtual void OnRecordStopped(uint32_t /*cookie*/) {}
  virtual void OnRecordPosition(int32_t /*time*/, uint32_t /*cookie*/) {}
  virtual void OnRecordLevels(const ChannelLevels& /*levels*/, uint32_t /*cookie*/) {}
  // The device went away mid-recording and could not be opened again: the recording
  // has stopped (OnRecordStopped came first) and the file is finished.
  virtual void OnRecordLost(uint32_t /*cookie*/) {}
};

// Records an input device into a WaveFileWriter. Called from the owner's thread only.
class Recorder {
 public:
  // StartRecording flags: leave the device stopped; write from the start instead of
  // waiting for sound.
  static constexpr uint32_t kOpenStopped = 1;
  static constexpr uint32_t kStartWriting = 2;

  virtual ~Recorder() = default;

  virtual void SetListener(LSoundRecorderListener* listener, uint32_t cookie) = 0;
  // The input device to record, found anew at each start (see ResolveDevice).
  virtual void set_device(const DeviceChoice& device) = 0;
  // The gain of what StartRecording records next, in decibels (-127: silent), on the
  // program's own stream: the system's input volume is left as it is.
  virtual void set_level(int decibels) = 0;

  // Starts recording into `writer`. max_time (1/10000 s, 0 for none) ends the
  // recording; threshold (dB) and hang_time (1/10000 s) drive the sound-operated
  // switch. False when the writer is missing or invalid or the device can't be opened.
  virtual bool StartRecording(std::shared_ptr<WaveFileWriter> writer, int32_t max_time,
                              int threshold, int32_t hang_time, uint32_t flags) = 0;
  // Stops and finishes the file; nothing when not recording.
  virtual void StopRecording() = 0;
  virtual bool is_recording() const = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_RECORDER_H_
