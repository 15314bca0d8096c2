#ifndef PARLAVOX_AUDIO_SOUND_RECORDER_H_
#define PARLAVOX_AUDIO_SOUND_RECORDER_H_

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "audio/channel_levels.h"
#include "audio/recorder.h"
#include "audio/wave_file.h"
#include "audio/wave_in.h"
#include "util/task_poster.h"

namespace parlavox {

// The Recorder on the sound server: 40 ms a buffer, all on the owner's thread. It
// can work as a sound-operated switch: while waiting it writes nothing until a
// buffer reaches the threshold (then it writes the held half buffer before
// it too, when the sound began there), and after more than the hang time below the
// threshold less 5 dB it cuts the quiet tail to 0.45 s and waits again. Stopping
// cuts a quiet tail longer than 50 ms after the last loud buffer. When the sound server
// drops the device mid-recording (a server restart), it is opened again at once and
// the recording goes on into the same file; when that fails, the recording stops and
// the listener hears OnRecordLost.
class LSoundRecorder : public Recorder {
 public:
  static constexpr int kBufferCount = 30;
  enum State { kClosed = 0, kWaiting = 1, kWriting = 2 };

  explicit LSoundRecorder(TaskPoster& poster) : wave_in_(poster) {}
  ~LSoundRecorder() override { StopRecording(); }
  LSoundRecorder(const LSoundRecorder&) = delete;
  LSoundRecorder& operator=(const LSoundRecorder&) = delete;

  void set_device(const DeviceChoice& device) override { device_ = device; }
  void set_level(int decibels) override { level_ = decibels; }
  void SetListener(LSoundRecorderListener* listener, uint32_t cookie) override;
  bool StartRecording(std::shared_ptr<WaveFileWriter> writer, int32_t max_time, int threshold,
                      int32_t hang_time, uint32_t flags) override;
  void StopRecording() override;
  bool is_recording() const override { return state_ != kClosed; }

  State state() const { return state_; }

 private:
  // Opens the device and hands it every buffer; false when it can't be opened.
  bool OpenDevice(uint32_t rate, int channels, bool started);
  void OnBuffer(RecordBuffer* buffer);
  void OnLost();
  // The level of the first `frames` frames of the current buffer.
  int8_t BufferLevel(int frames);
  int32_t TimeOfLength() const;
  int64_t FramesOfTime(int32_t time) const;

  WaveIn wave_in_;
  DeviceChoice device_;
  int level_ = 0;
  LSoundRecorderListener* listener_ = nullptr;
  uint32_t cookie_ = 0;
  State state_ = kClosed;
  std::shared_ptr<WaveFileWriter> writer_;
  ChannelLevels levels_;
  std::vector<int32_t> scratch_;
  std::vector<int32_t> hold_buffer_;
  bool hold_valid_ = false;
  std::array<RecordBuffer, kBufferCount> buffers_;
  int frames_per_buffer_ = 0;
  int32_t max_time_ = 0;
  int threshold_ = 0;
  int low_threshold_ = 0;
  int32_t last_loud_time_ = 0;
  int32_t hang_time_ = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_SOUND_RECORDER_H_
