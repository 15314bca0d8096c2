#include "audio/wave_in.h"

#include <algorithm>
#include <optional>

#include "audio/pulse_connection.h"
#include "audio/sound_devices.h"

namespace parlavox {

WaveIn::~WaveIn() { Close(); }

bool WaveIn::Open(const std::string& device, uint32_t rate, int channels, int buffer_frames,
                  int decibels, Reports reports) {
  Close();

  PulseLock lock;
  pa_context* context = PulseConnection::Instance().Context();
  if (context == nullptr) return false;
  stream_ = NewPcmStream(context, "Parlavox call", rate, channels);
  if (stream_ == nullptr) return false;
  const pa_sample_spec& spec = *pa_stream_get_sample_spec(stream_);
  reports_ = std::make_shared<Reports>(std::move(reports));
  lost_ = false;
  pa_stream_set_state_callback(stream_, &WaveIn::OnStreamState, this);
  pa_stream_set_read_callback(stream_, &WaveIn::OnRead, this);

  // Fragments of one buffer: the server hands over sound as soon as a buffer's worth is in.
  const uint32_t fragment = static_cast<uint32_t>(buffer_frames * pa_frame_size(&spec));
  const pa_buffer_attr attributes{static_cast<uint32_t>(-1), static_cast<uint32_t>(-1),
                                  static_cast<uint32_t>(-1), static_cast<uint32_t>(-1), fragment};
  if (pa_stream_connect_record(
          stream_, device.empty() ? nullptr : device.c_str(), &attributes,
          static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_START_CORKED)) < 0) {
    Close();
    return false;
  }
  if (!WaitUntilReady(stream_)) {
    Close();
    return false;
  }
  // The level is this stream's own, set while it is still corked: no sample is taken
  // at another level, and the device's volume stays as the desktop has it.
  SetRecordLevel(context, stream_, decibels);
  return true;
}

void WaveIn::AddBuffer(RecordBuffer* buffer) {
  PulseLock lock;
  buffer->filled = 0;
  queued_.push_back(buffer);
}

void WaveIn::Start() { Cork(false); }
void WaveIn::Stop() { Cork(true); }

void WaveIn::Cork(bool cork) {
  PulseLock lock;
  if (stream_ == nullptr || pa_stream_get_state(stream_) != PA_STREAM_READY) return;
  if (pa_operation* operation = pa_stream_cork(stream_, cork ? 1 : 0, nullptr, nullptr)) {
    pa_operation_unref(operation);
  }
}

void WaveIn::Close() {
  // Without a stream no callback can run: a device never opened never reaches the server.
  if (stream_ == nullptr) {
    queued_.clear();
    reports_.reset();
    return;
  }
  PulseLock lock;
  pa_stream_set_state_callback(stream_, nullptr, nullptr);
  pa_stream_set_read_callback(stream_, nullptr, nullptr);
  pa_stream_disconnect(stream_);
  pa_stream_unref(stream_);
  stream_ = nullptr;
  queued_.clear();
  reports_.reset();
}

void WaveIn::OnStreamState(pa_stream* stream, void* self) {
  auto* in = static_cast<WaveIn*>(self);
  const pa_stream_state_t state = pa_stream_get_state(stream);
  if ((state == PA_STREAM_FAILED || state == PA_STREAM_TERMINATED) && !in->lost_) {
    in->lost_ = true;
    in->poster_.Post([reports = std::weak_ptr<Reports>(in->reports_)] {
      if (const auto live = reports.lock(); live && live->lost) live->lost();
    });
  }
  PulseConnection::Instance().Signal();
}

void WaveIn::OnRead(pa_stream* stream, size_t, void* self) {
  auto* in = static_cast<WaveIn*>(self);
  const void* data = nullptr;
  size_t bytes = 0;
  while (pa_stream_readable_size(stream) > 0 && pa_stream_peek(stream, &data, &bytes) == 0) {
    if (bytes == 0) break;
    in->Take(static_cast<const int16_t*>(data), bytes / sizeof(int16_t));
    pa_stream_drop(stream);
  }
}

void WaveIn::Take(const int16_t* samples, size_t count) {
  while (count > 0 && !queued_.empty()) {
    RecordBuffer* buffer = queued_.front();
    const size_t room = buffer->samples.size() - buffer->filled;
    const size_t taken = std::min(room, count);
    int16_t* into = buffer->samples.data() + buffer->filled;
    if (samples != nullptr) {
      std::copy_n(samples, taken, into);
      samples += taken;
    } else {
      std::fill_n(into, taken, 0);  // a hole in the stream reads as silence
    }
    buffer->filled += taken;
    count -= taken;
    if (buffer->filled == buffer->samples.size()) {
      queued_.pop_front();
      poster_.Post([reports = std::weak_ptr<Reports>(reports_), buffer] {
        if (const auto live = reports.lock()) live->deliver(buffer);
      });
    }
  }
}

}  // namespace parlavox
