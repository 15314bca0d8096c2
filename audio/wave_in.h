#ifndef PARLAVOX_AUDIO_WAVE_IN_H_
#define PARLAVOX_AUDIO_WAVE_IN_H_

#include <pulse/pulseaudio.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "util/task_poster.h"

namespace parlavox {

// One buffer for an input device to fill with 16-bit samples.
struct RecordBuffer {
  std::vector<int16_t> samples;
  size_t filled = 0;  // samples filled so far
};

// An input device: a record stream on the sound server that fills the buffers added
// to it, in order, and hands each full buffer to `deliver` on the owner's thread
// (through `poster`). Sound that arrives while no buffer is queued is lost. A stream
// the server drops (it went away, the device vanished) is reported once to `lost`.
// Nothing is delivered or reported after Close. Called from the owner's thread only.
class WaveIn {
 public:
  using Delivery = std::function<void(RecordBuffer*)>;
  struct Reports {
    Delivery deliver;
    std::function<void()> lost;
  };

  explicit WaveIn(TaskPoster& poster) : poster_(poster) {}
  WaveIn(const WaveIn&) = delete;
  WaveIn& operator=(const WaveIn&) = delete;
  ~WaveIn();

  // Opens the input device the server calls `device` ("" for the desktop's default)
  // for 16-bit PCM, delivering
  // buffers of `buffer_frames` frames, at `decibels` of gain on this stream alone
  // (-127: silent); the device starts stopped.
  bool Open(const std::string& device, uint32_t rate, int channels, int buffer_frames, int decibels,
            Reports reports);
  void AddBuffer(RecordBuffer* buffer);
  void Start();
  void Stop();
  void Close();

 private:
  static void OnRead(pa_stream* stream, size_t bytes, void* self);
  static void OnStreamState(pa_stream* stream, void* self);
  // Copies arriving samples (or silence for a hole) into the queued buffers.
  void Take(const int16_t* samples, size_t count);
  void Cork(bool cork);

  TaskPoster& poster_;
  pa_stream* stream_ = nullptr;
  std::deque<RecordBuffer*> queued_;  // guarded by the main loop's lock
  // Owned here and watched by posted deliveries, so that none runs after Close.
  std::shared_ptr<Reports> reports_;
  bool lost_ = false;  // guarded by the main loop's lock
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_WAVE_IN_H_
