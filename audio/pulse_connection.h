#ifndef PARLAVOX_AUDIO_PULSE_CONNECTION_H_
#define PARLAVOX_AUDIO_PULSE_CONNECTION_H_

#include <pulse/pulseaudio.h>

#include <chrono>
#include <functional>

namespace parlavox {

// The process's one connection to the sound server: libpulse's threaded main loop and
// a context on it. Every libpulse call is made with the main loop locked (a
// PulseLock), from any thread but the loop's own; callbacks run on the loop's thread
// with the lock held. The connection is made on first use and made again after the
// server went away.
//
// A server that stops answering (stopped, or stuck on a device) is given up on after
// kAnswerTime: the connection is dropped, so every stream on it fails and says so, and
// for as long again no new connection is tried, so that a hung server holds a caller up
// once rather than at every step. (libpulse alone waits half a minute for each answer.)
class PulseConnection {
 public:
  static constexpr std::chrono::seconds kAnswerTime{5};

  static PulseConnection& Instance();

  pa_threaded_mainloop* mainloop() const { return mainloop_; }

  // A ready context, connecting first when needed; nullptr when no server answers.
  // Call with the main loop locked.
  pa_context* Context();

  // Waits, main loop locked, for an operation to finish and releases it; false when
  // the connection failed meanwhile or the server did not answer. Callbacks must call
  // Signal.
  bool Wait(pa_operation* operation);

  // Waits, main loop locked, until `settled` holds; false, and the server given up on,
  // when it has not answered within kAnswerTime. Whatever makes `settled` hold must
  // call Signal.
  bool WaitUntil(const std::function<bool()>& settled);
  void Signal() { pa_threaded_mainloop_signal(mainloop_, 0); }

 private:
  PulseConnection();
  static void OnContextState(pa_context* context, void* self);

  pa_threaded_mainloop* mainloop_;
  pa_context* context_ = nullptr;
  pa_usec_t hung_until_ = 0;  // on libpulse's monotonic clock
};

// A new, unconnected stream of 16-bit PCM on a ready context, main loop locked;
// nullptr when the server can't take that format. Its role is a phone's, so that the
// desktop treats it as a call (ducking, its own volume memory).
pa_stream* NewPcmStream(pa_context* context, const char* name, uint32_t rate, int channels);

// Waits, main loop locked, until a stream that is connecting is ready; false when
// it failed or the server did not answer. The stream's state callback must call
// PulseConnection::Signal.
bool WaitUntilReady(pa_stream* stream);

// Gives a ready stream its own level, `decibels` of gain (-127 and below: muted), and
// waits until the server has it, main loop locked. A level given only as the stream is
// made does not hold everywhere: PipeWire's session manager gives each new stream the
// level it remembers for the program.
bool SetPlaybackLevel(pa_context* context, pa_stream* stream, int decibels);
bool SetRecordLevel(pa_context* context, pa_stream* stream, int decibels);

// A pa_context_success_cb_t for operations waited on with PulseConnection::Wait.
void SignalDone(pa_context* context, int success, void* unused);

// The volume of `channels` channels at `decibels` of gain (-127 and below: muted).
pa_cvolume LevelVolume(int channels, int decibels);

// Holds the main loop's lock for as long as it lives.
class PulseLock {
 public:
  PulseLock() { pa_threaded_mainloop_lock(PulseConnection::Instance().mainloop()); }
  ~PulseLock() { pa_threaded_mainloop_unlock(PulseConnection::Instance().mainloop()); }
  PulseLock(const PulseLock&) = delete;
  PulseLock& operator=(const PulseLock&) = delete;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_PULSE_CONNECTION_H_
