#include "audio/wave_out.h"

#include <algorithm>
#include <optional>
#include <set>

#include "audio/pulse_connection.h"
#include "audio/sound_devices.h"

namespace parlavox {
namespace {

// How often the server is asked how far it has read.
constexpr pa_usec_t kTimingInterval = 20 * PA_USEC_PER_MSEC;
// Room on the server for everything the player queues: 70 buffers of 100 ms.
constexpr uint32_t kQueueSeconds = 8;

// The program's own playback volume and the streams it applies to; both guarded by
// the main loop's lock.
double playback_volume = 1.0;
std::set<WaveOut*>& OpenStreams() {
  static std::set<WaveOut*> streams;
  return streams;
}

pa_cvolume VolumeFor(int channels) {
  pa_cvolume volume;
  pa_cvolume_set(&volume, static_cast<unsigned>(channels),
                 static_cast<pa_volume_t>(std::clamp(playback_volume, 0.0, 1.0) * PA_VOLUME_NORM));
  return volume;
}

}  // namespace

WaveOut::~WaveOut() { Close(); }

bool WaveOut::Open(int device, uint32_t rate, int channels, ManualResetEvent* buffer_done) {
  Close();
  const std::optional<std::string> name = OutputDeviceName(device);
  if (!name) return false;

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
  read_index_ = 0;
  pa_stream_set_state_callback(stream_, &WaveOut::OnStreamState, this);

  // Playback starts as soon as one frame is there, so nothing waits to fill up.
  const uint32_t frame = static_cast<uint32_t>(pa_frame_size(&spec));
  const pa_buffer_attr attributes{static_cast<uint32_t>(-1), rate * frame * kQueueSeconds, frame,
                                  static_cast<uint32_t>(-1), static_cast<uint32_t>(-1)};
  const pa_cvolume volume = VolumeFor(channels);
  if (pa_stream_connect_playback(stream_, name->empty() ? nullptr : name->c_str(), &attributes,
                                 PA_STREAM_NOFLAGS, &volume, nullptr) < 0) {
    Close();
    return false;
  }
  if (!WaitUntilReady(stream_)) {
    Close();
    return false;
  }
  OpenStreams().insert(this);
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
  buffer->end_index = write_index_;
  queued_.push_back(buffer);
}

void WaveOut::Reset() {
  PulseLock lock;
  MarkAllDone();
  if (stream_ == nullptr || failed_) return;
  PulseConnection& pulse = PulseConnection::Instance();
  pulse.Wait(pa_stream_flush(
      stream_, [](pa_stream*, int, void*) { PulseConnection::Instance().Signal(); }, nullptr));
  // A flush moves the server's write index back to its read index: start counting there.
  if (pulse.Wait(pa_stream_update_timing_info(
          stream_, [](pa_stream*, int, void*) { PulseConnection::Instance().Signal(); },
          nullptr))) {
    if (const pa_timing_info* timing = pa_stream_get_timing_info(stream_)) {
      write_index_ = static_cast<uint64_t>(std::max<int64_t>(timing->write_index, 0));
      read_index_ = write_index_;
    }
  }
}

void WaveOut::Close() {
  // Without a stream no callback can run: a device never opened never reaches the server.
  if (stream_ == nullptr && timer_ == nullptr) {
    MarkAllDone();
    return;
  }
  PulseLock lock;
  OpenStreams().erase(this);
  if (timer_ != nullptr) {
    pa_threaded_mainloop_get_api(PulseConnection::Instance().mainloop())->time_free(timer_);
    timer_ = nullptr;
  }
  if (stream_ != nullptr) {
    pa_stream_set_state_callback(stream_, nullptr, nullptr);
    pa_stream_disconnect(stream_);
    pa_stream_unref(stream_);
    stream_ = nullptr;
  }
  MarkAllDone();
}

void WaveOut::SetPlaybackVolume(double factor) {
  PulseLock lock;
  playback_volume = factor;
  for (WaveOut* stream : OpenStreams()) stream->ApplyVolume();
}

void WaveOut::ApplyVolume() {
  pa_context* context = PulseConnection::Instance().Context();
  if (context == nullptr || stream_ == nullptr || failed_) return;
  const pa_cvolume volume = VolumeFor(pa_stream_get_sample_spec(stream_)->channels);
  if (pa_operation* operation = pa_context_set_sink_input_volume(
          context, pa_stream_get_index(stream_), &volume, nullptr, nullptr)) {
    pa_operation_unref(operation);
  }
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
  if (pa_stream_get_state(out->stream_) == PA_STREAM_READY) {
    if (pa_operation* operation =
            pa_stream_update_timing_info(out->stream_, &WaveOut::OnTiming, out)) {
      pa_operation_unref(operation);
    }
  }
  pa_context_rttime_restart(pa_stream_get_context(out->stream_), event,
                            pa_rtclock_now() + kTimingInterval);
}

void WaveOut::OnTiming(pa_stream* stream, int success, void* self) {
  if (!success) return;
  if (const pa_timing_info* timing = pa_stream_get_timing_info(stream)) {
    static_cast<WaveOut*>(self)->MarkPlayed(
        static_cast<uint64_t>(std::max<int64_t>(timing->read_index, 0)));
  }
}

void WaveOut::MarkPlayed(uint64_t read_index) {
  read_index_ = read_index;
  bool any = false;
  while (!queued_.empty() && queued_.front()->end_index <= read_index) {
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
