#ifndef PARLAVOX_UTIL_CLOCK_H_
#define PARLAVOX_UTIL_CLOCK_H_

#include <chrono>
#include <functional>
#include <memory>

namespace parlavox {

// A one-shot timer: once started it fires its task once, on the owner's thread, after
// the delay. Starting it again replaces a firing still pending; stopping it cancels it.
class Timer {
 public:
  virtual ~Timer() = default;
  virtual void Start(std::chrono::milliseconds delay) = 0;
  virtual void Stop() = 0;
  virtual bool IsActive() const = 0;
};

// The monotonic time and the timers of the owner's thread. The logic asks this
// instead of the system, so that tests can move time on by hand.
class Clock {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  virtual ~Clock() = default;
  virtual TimePoint Now() const = 0;
  // A stopped timer that runs `fired` when it fires.
  virtual std::unique_ptr<Timer> NewTimer(std::function<void()> fired) = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_CLOCK_H_
