#ifndef PARLAVOX_PLATFORM_QT_CLOCK_H_
#define PARLAVOX_PLATFORM_QT_CLOCK_H_

#include "util/clock.h"

namespace parlavox {

// The Clock of a thread that runs a Qt event loop: the system's monotonic time, and
// timers that fire from that loop.
class QtClock : public Clock {
 public:
  TimePoint Now() const override { return std::chrono::steady_clock::now(); }
  std::unique_ptr<Timer> NewTimer(std::function<void()> fired) override;
};

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_QT_CLOCK_H_
