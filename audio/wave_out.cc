#include "audio/wave_out.h"

#include <algorithm>

#include "audio/pulse_connection.h"

namespace parlavox {
namespace {

// How often the server is asked how far it has played.
constexpr pa_usec_t kTimingInterval = 20 * PA_USEC_PER_MSEC;
// Room on the server for everything the player queues: 70 buffers of 100 ms.
constexpr uint32_t kQueueSeconds = 8;
// The latency the stream asks for: short, so that what the server has read is heard
// soon and the end of a message is not left in a long sink buffer.
constexpr uint32_t kLatencyMs = 40;

}  // namespace

WaveOut::~WaveOut() { Close(); }

bool WaveOut::Open(const std::string& device, uint32_t rate, int channels, int decibels,
                   ManualResetEvent* buffer_done) {
  Close();

  PulseLock lock;
  PulseConnection& pulse = PulseConnection::Instance();
  pa_context* context = pulse.Context();
  if (context == nullptr) return false;
  stream_ = NewPcmStream(context, "Parlavox message", rate, channels);
  if (stream_ == nullptr) return false;
  const pa_sample_spec& spec = *pa_stream_get_sample_spec(stream_);
  buffer_done_ = buffer_done;
  failed_ = false;
  write_index_ = 0;
  all_read_at_ = 0;
  drained_ = false;
  pa_stream_set_state_callback(stream_, &WaveOut::OnStreamState, this);

  // Playback starts as soon as one frame is there, so nothing waits to fill up; the
  // whole queue fits, and the sink plays it with a short latency.
  const uint32_t frame = static_cast<uint32_t>(pa_frame_size(&spec));
  const pa_buffer_attr attributes{rate * frame * kQueueSeconds, rate * frame * kLatencyMs / 1000,
                                  frame, static_cast<uint32_t>(-1), static_cast<uint32_t>(-1)};
  // The level is the stream's own from its first sample, in real decibels: given as
  // the stream is made, and again once it is ready, before any sample is written.
  const pa_cvolume volume = LevelVolume(channels, decibels);
  if (pa_stream_connect_playback(stream_, device.empty() ? nullptr : device.c_str(), &attributes,
                                 PA_STREAM_ADJUST_LATENCY, &volume, nullptr) < 0) {
    Close();
    return false;
  }
  if (!WaitUntilReady(stream_)) {
    Close();
    return false;
  }
  SetPlaybackLevel(context, stream_, decibels);
  // That waited for the server, which may have gone meanwhile, its connection with it.
  context = pa_stream_get_context(stream_);
  if (context == nullptr) {
    Close();
    return false;
  }
  timer_ =
      pa_context_rttime_new(context, pa_rtclock_now() + kTimingInterval, &WaveOut::OnTimer, this);
  return true;
}

void WaveOut::Write(PlayBuffer* buffer) {
  PulseLock lock;
  buffer->done = false;
  if (stream_ == nullptr || failed_ ||
      pa_stream_write(stream_, buffer->samples.data(), buffer->bytes, nullptr, 0,
                      PA_SEEK_RELATIVE) < 0) {
    buffer->done = true;
    return;
  }
  write_index_ += buffer->bytes;
  drained_ = false;
  all_read_at_ = 0;
  buffer->end_index = write_index_;
  queued_.push_back(buffer);
}

void WaveOut::Drain() {
  PulseLock lock;
  if (stream_ == nullptr || failed_ || drained_) return;
  drained_ = true;
  if (pa_operation* operation = pa_stream_drain(stream_, nullptr, nullptr)) {
    pa_operation_unref(operation);
  }
}

void WaveOut::Close() {
  // Without a stream, a timer or a request no callback can run: a device never opened
  // never reaches the server.
  if (stream_ == nullptr && timer_ == nullptr && timing_ == nullptr) {
    MarkAllDone();
    played_index_ = 0;
    return;
  }
  PulseLock lock;
  if (timer_ != nullptr) {
    pa_threaded_mainloop_get_api(PulseConnection::Instance().mainloop())->time_free(timer_);
    timer_ = nullptr;
  }
  if (timing_ != nullptr) {
    if (pa_operation_get_state(timing_) == PA_OPERATION_RUNNING) pa_operation_cancel(timing_);
    pa_operation_unref(timing_);
    timing_ = nullptr;
  }
  if (stream_ != nullptr) {
    pa_stream_set_state_callback(stream_, nullptr, nullptr);
    pa_stream_disconnect(stream_);
    pa_stream_unref(stream_);
    stream_ = nullptr;
  }
  MarkAllDone();
  played_index_ = 0;
}

void WaveOut::OnStreamState(pa_stream* stream, void* self) {
  static_cast<WaveOut*>(self)->CheckHealth(stream);
  PulseConnection::Instance().Signal();
}

void WaveOut::CheckHealth(pa_stream* stream) {
  if (failed_) return;
  if (!PA_STREAM_IS_GOOD(pa_stream_get_state(stream)) ||
      !PA_CONTEXT_IS_GOOD(pa_context_get_state(pa_stream_get_context(stream)))) {
    failed_ = true;
    MarkAllDone();
  }
}

void WaveOut::OnTimer(pa_mainloop_api*, pa_time_event* event, const timeval*, void* self) {
  // Runs on libpulse's thread: only this stream's own context may be used here. A
  // server that went away does not always reach the stream's state callback, so the
  // health of stream and connection is looked at here too.
  auto* out = static_cast<WaveOut*>(self);
  out->CheckHealth(out->stream_);
  // One request at a time: a server slow to answer is not asked again meanwhile.
  if (pa_stream_get_state(out->stream_) == PA_STREAM_READY &&
      (out->timing_ == nullptr || pa_operation_get_state(out->timing_) != PA_OPERATION_RUNNING)) {
    if (out->timing_ != nullptr) pa_operation_unref(out->timing_);
    out->timing_ = pa_stream_update_timing_info(out->stream_, &WaveOut::OnTiming, out);
  }
  // A stream whose server went is cut from its connection at once: nothing is left to
  // look at until the owner, told it failed, closes it (and frees this timer).
  pa_context* context = pa_stream_get_context(out->stream_);
  if (context == nullptr) return;
  pa_context_rttime_restart(context, event, pa_rtclock_now() + kTimingInterval);
}

void WaveOut::OnTiming(pa_stream* stream, int success, void* self) {
  if (!success) return;
  const pa_timing_info* timing = pa_stream_get_timing_info(stream);
  if (timing == nullptr) return;
  auto* out = static_cast<WaveOut*>(self);
  const uint64_t read = static_cast<uint64_t>(std::max<int64_t>(timing->read_index, 0));
  // What the server has read and the sink still holds has not been heard yet. Once
  // the server has read everything, the sink still reports its latency while it plays
  // silence after it: the end has been heard when that latency has gone by since.
  uint64_t played = read;
  const pa_usec_t now = pa_rtclock_now();
  if (read < out->write_index_) {
    out->all_read_at_ = 0;
    played -= std::min<uint64_t>(
        read, pa_usec_to_bytes(timing->sink_usec, pa_stream_get_sample_spec(stream)));
  } else {
    if (out->all_read_at_ == 0) out->all_read_at_ = now;
    if (now - out->all_read_at_ < timing->sink_usec + timing->transport_usec) {
      played -= std::min<uint64_t>(
          read,
          pa_usec_to_bytes(timing->sink_usec - std::min(timing->sink_usec, now - out->all_read_at_),
                           pa_stream_get_sample_spec(stream)));
    }
  }
  out->MarkPlayed(played);
}

void WaveOut::MarkPlayed(uint64_t played_index) {
  played_index_ = std::max(played_index_.load(), played_index);
  bool any = false;
  while (!queued_.empty() && queued_.front()->end_index <= played_index) {
    queued_.front()->done = true;
    queued_.pop_front();
    any = true;
  }
  if (any && buffer_done_ != nullptr) buffer_done_->Set();
}

void WaveOut::MarkAllDone() {
  for (PlayBuffer* buffer : queued_) buffer->done = true;
  queued_.clear();
  if (buffer_done_ != nullptr) buffer_done_->Set();
}

}  // namespace parlavox
