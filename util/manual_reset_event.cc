#include "util/manual_reset_event.h"

#include <pthread.h>

namespace parlavox {

void ManualResetEvent::Set() {
  {
    MutexLock lock(mutex_);
    set_ = true;
  }
  changed_.notify_all();
}

void ManualResetEvent::Reset() {
  MutexLock lock(mutex_);
  set_ = false;
}

bool ManualResetEvent::IsSet() const {
  MutexLock lock(mutex_);
  return set_;
}

bool ManualResetEvent::WaitFor(std::chrono::milliseconds timeout) const {
  return WaitUninterrupted([&](MutexLock& lock) {
    return changed_.wait_for(lock, timeout, [this] {
      mutex_.AssertHeld();
      return set_;
    });
  });
}

void ManualResetEvent::Wait() const {
  WaitUninterrupted([&](MutexLock& lock) {
    changed_.wait(lock, [this] {
      mutex_.AssertHeld();
      return set_;
    });
    return true;
  });
}

template <typename Waiting>
bool ManualResetEvent::WaitUninterrupted(Waiting waiting) const {
  // The condition-variable wait must not be unwound by a thread cancellation (it is
  // noexcept and would take the mutex down with it), so cancellation is held off while
  // waiting and honoured right after.
  int old_state = 0;
  pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &old_state);
  bool result;
  {
    MutexLock lock(mutex_);
    result = waiting(lock);
  }
  pthread_setcancelstate(old_state, nullptr);
  if (old_state == PTHREAD_CANCEL_ENABLE) pthread_testcancel();
  return result;
}

}  // namespace parlavox
