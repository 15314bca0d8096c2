#ifndef PARLAVOX_AUDIO_WAVE_OUT_H_
#define PARLAVOX_AUDIO_WAVE_OUT_H_

#include <pulse/pulseaudio.h>

#include <atomic>
#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "util/manual_reset_event.h"

namespace parlavox {

// One buffer of 16-bit samples for an output device. `done` is true whenever the
// device does not hold it: before it is written, once it has played, once the device
// is closed.
struct PlayBuffer {
  std::vector<int16_t> samples;  // the buffer's room
  size_t bytes = 0;              // how much of it to play
  std::atomic<bool> done{true};
  uint64_t end_index = 0;  // where in the stream this buffer ends
};

// An output device: a playback stream on the sound server that plays the buffers
// written to it in order, with nothing buffered in between. The stream asks for a
// short latency (tens of milliseconds, not the server's default of up to seconds), and
// a buffer is done only once its last byte has played: read by the server and past
// the sink's latency. `buffer_done` is set each time buffers finish. A stream the
// server drops is `failed`: everything queued counts as done, later writes are done at
// once, and played_bytes() tells how much had played. Called from one owner at a time,
// from any thread but libpulse's own.
class WaveOut {
 public:
  WaveOut() = default;
  WaveOut(const WaveOut&) = delete;
  WaveOut& operator=(const WaveOut&) = delete;
  ~WaveOut();

  // Opens the output device the server calls `device` ("" for the desktop's default)
  // for 16-bit PCM at `decibels` of gain (-127: silent), set as the stream is made.
  bool Open(const std::string& device, uint32_t rate, int channels, int decibels,
            ManualResetEvent* buffer_done);
  void Write(PlayBuffer* buffer);
  // Asks the server to play everything written so far, a last piece shorter than the
  // server reads at a time included: PipeWire's holds such a piece back until more
  // comes, and the stream would never finish. Writing may go on after it (PipeWire's
  // server may then hold back again what follows, till it is asked once more).
  void Drain();
  // Closes the stream: whatever is queued is dropped, every buffer becomes done.
  void Close();
  bool failed() const { return failed_.load(); }
  // How much of the stream has played since it was opened, as of the last look; 0
  // once it is closed.
  uint64_t played_bytes() const { return played_index_.load(); }

 private:
  static void OnStreamState(pa_stream* stream, void* self);
  static void OnTimer(pa_mainloop_api* api, pa_time_event* event, const timeval* when, void* self);
  static void OnTiming(pa_stream* stream, int success, void* self);
  // Marks done every queued buffer that ends at or before `played_index`.
  void MarkPlayed(uint64_t played_index);
  void MarkAllDone();
  // Declares the device failed when the stream or the connection has gone bad.
  void CheckHealth(pa_stream* stream);

  pa_stream* stream_ = nullptr;
  pa_time_event* timer_ = nullptr;
  // The last request for timing, whose answer may still come after the stream was let
  // go (its disconnection is answered later): cancelled as the device closes.
  pa_operation* timing_ = nullptr;
  ManualResetEvent* buffer_done_ = nullptr;
  std::deque<PlayBuffer*> queued_;
  uint64_t write_index_ = 0;
  pa_usec_t all_read_at_ = 0;  // when the server had read everything written; 0: not yet
  bool drained_ = false;       // asked to drain since the last write
  std::atomic<uint64_t> played_index_{0};  // as of the last timing update
  std::atomic<bool> failed_{false};
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_WAVE_OUT_H_
