#include "audio/pulse_connection.h"

namespace parlavox {

PulseConnection& PulseConnection::Instance() {
  static PulseConnection* connection = new PulseConnection;  // lives as long as the process
  return *connection;
}

PulseConnection::PulseConnection() : mainloop_(pa_threaded_mainloop_new()) {
  pa_threaded_mainloop_set_name(mainloop_, "parlavox-pulse");
  pa_threaded_mainloop_start(mainloop_);
}

void PulseConnection::OnContextState(pa_context*, void* self) {
  static_cast<PulseConnection*>(self)->Signal();
}

pa_context* PulseConnection::Context() {
  if (pa_rtclock_now() < hung_until_) return nullptr;
  if (context_ != nullptr) {
    const pa_context_state_t state = pa_context_get_state(context_);
    if (state == PA_CONTEXT_READY) return context_;
    if (PA_CONTEXT_IS_GOOD(state)) {
      // Still connecting on another thread's behalf: wait for the outcome below.
    } else {
      pa_context_unref(context_);
      context_ = nullptr;
    }
  }
  if (context_ == nullptr) {
    // The mixer and the desktop show the program by these.
    pa_proplist* properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_APPLICATION_NAME, "Parlavox");
    pa_proplist_sets(properties, PA_PROP_APPLICATION_ID, "parlavox");
    pa_proplist_sets(properties, PA_PROP_APPLICATION_ICON_NAME, "parlavox");
    context_ = pa_context_new_with_proplist(pa_threaded_mainloop_get_api(mainloop_), "Parlavox",
                                            properties);
    pa_proplist_free(properties);
    if (context_ == nullptr) return nullptr;
    pa_context_set_state_callback(context_, &PulseConnection::OnContextState, this);
    if (pa_context_connect(context_, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
      pa_context_unref(context_);
      context_ = nullptr;
      return nullptr;
    }
  }
  // A context that failed, or was given up on, is dropped on the next call.
  WaitUntil([this] {
    const pa_context_state_t state = pa_context_get_state(context_);
    return state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state);
  });
  return pa_context_get_state(context_) == PA_CONTEXT_READY ? context_ : nullptr;
}

bool PulseConnection::Wait(pa_operation* operation) {
  if (operation == nullptr) return false;
  WaitUntil([&] {
    return pa_operation_get_state(operation) != PA_OPERATION_RUNNING || context_ == nullptr ||
           !PA_CONTEXT_IS_GOOD(pa_context_get_state(context_));
  });
  if (pa_operation_get_state(operation) == PA_OPERATION_RUNNING) pa_operation_cancel(operation);
  const bool done = pa_operation_get_state(operation) == PA_OPERATION_DONE;
  pa_operation_unref(operation);
  return done;
}

bool PulseConnection::WaitUntil(const std::function<bool()>& settled) {
  if (settled() || context_ == nullptr) return settled();
  const pa_usec_t deadline = pa_rtclock_now() + std::chrono::microseconds(kAnswerTime).count();
  // Wakes this wait at the deadline, should nothing else.
  pa_time_event* alarm = pa_context_rttime_new(
      context_, deadline,
      [](pa_mainloop_api*, pa_time_event*, const timeval*, void* self) {
        static_cast<PulseConnection*>(self)->Signal();
      },
      this);
  bool answered = true;
  while (!settled()) {
    if (pa_rtclock_now() >= deadline) {
      answered = false;
      break;
    }
    pa_threaded_mainloop_wait(mainloop_);
  }
  pa_threaded_mainloop_get_api(mainloop_)->time_free(alarm);
  if (!answered) {
    hung_until_ = pa_rtclock_now() + std::chrono::microseconds(kAnswerTime).count();
    if (context_ != nullptr) pa_context_disconnect(context_);
  }
  return answered;
}

pa_stream* NewPcmStream(pa_context* context, const char* name, uint32_t rate, int channels) {
  if (channels < 1 || channels > static_cast<int>(PA_CHANNELS_MAX)) return nullptr;
  const pa_sample_spec spec{PA_SAMPLE_S16LE, rate, static_cast<uint8_t>(channels)};
  if (!pa_sample_spec_valid(&spec)) return nullptr;
  pa_channel_map map;
  pa_channel_map_init_extend(&map, spec.channels, PA_CHANNEL_MAP_DEFAULT);
  pa_proplist* properties = pa_proplist_new();
  pa_proplist_sets(properties, PA_PROP_MEDIA_ROLE, "phone");
  pa_proplist_sets(properties, PA_PROP_MEDIA_NAME, name);
  pa_proplist_sets(properties, PA_PROP_APPLICATION_ICON_NAME, "parlavox");
  pa_stream* stream = pa_stream_new_with_proplist(context, name, &spec, &map, properties);
  pa_proplist_free(properties);
  return stream;
}

void SignalDone(pa_context*, int, void*) { PulseConnection::Instance().Signal(); }

pa_cvolume LevelVolume(int channels, int decibels) {
  pa_cvolume volume;
  pa_cvolume_set(&volume, static_cast<unsigned>(channels),
                 decibels <= -127 ? PA_VOLUME_MUTED : pa_sw_volume_from_dB(decibels));
  return volume;
}

bool SetPlaybackLevel(pa_context* context, pa_stream* stream, int decibels) {
  const pa_cvolume volume = LevelVolume(pa_stream_get_sample_spec(stream)->channels, decibels);
  return PulseConnection::Instance().Wait(pa_context_set_sink_input_volume(
      context, pa_stream_get_index(stream), &volume, &SignalDone, nullptr));
}

bool SetRecordLevel(pa_context* context, pa_stream* stream, int decibels) {
  const pa_cvolume volume = LevelVolume(pa_stream_get_sample_spec(stream)->channels, decibels);
  return PulseConnection::Instance().Wait(pa_context_set_source_output_volume(
      context, pa_stream_get_index(stream), &volume, &SignalDone, nullptr));
}

bool WaitUntilReady(pa_stream* stream) {
  return PulseConnection::Instance().WaitUntil([stream] {
    return pa_stream_get_state(stream) != PA_STREAM_CREATING;
  }) && pa_stream_get_state(stream) == PA_STREAM_READY;
}

}  // namespace parlavox
