#ifndef PARLAVOX_UTIL_MANUAL_RESET_EVENT_H_
#define PARLAVOX_UTIL_MANUAL_RESET_EVENT_H_

#include <chrono>
#include <condition_variable>

#include "util/mutex.h"

namespace parlavox {

// An event that stays signalled once set, until it is reset. Any number of threads may
// wait on it; Set wakes them all. Safe to use from any thread.
class ManualResetEvent {
 public:
  ManualResetEvent() = default;
  ManualResetEvent(const ManualResetEvent&) = delete;
  ManualResetEvent& operator=(const ManualResetEvent&) = delete;

  void Set();
  void Reset();
  bool IsSet() const;

  // Waits until the event is set or `timeout` passes; returns whether it is set.
  // A thread that is cancelled while it waits ends when the wait returns.
  bool WaitFor(std::chrono::milliseconds timeout) const;
  // Waits, however long it takes, until the event is set.
  void Wait() const;

 private:
  template <typename Waiting>
  bool WaitUninterrupted(Waiting waiting) const;

  mutable Mutex mutex_;
  mutable std::condition_variable_any changed_;
  bool set_ GUARDED_BY(mutex_) = false;
};

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_MANUAL_RESET_EVENT_H_
