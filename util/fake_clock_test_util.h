#ifndef PARLAVOX_UTIL_FAKE_CLOCK_TEST_UTIL_H_
#define PARLAVOX_UTIL_FAKE_CLOCK_TEST_UTIL_H_

#include <algorithm>
#include <memory>
#include <optional>
#include <vector>

#include "util/clock.h"

namespace parlavox {

// A clock whose time moves only when the test says so. Advance fires every timer
// that falls due on the way, in the order of their due times, each at its own time.
class FakeClock : public Clock {
 public:
  TimePoint Now() const override { return now_; }

  std::unique_ptr<Timer> NewTimer(std::function<void()> fired) override {
    auto timer = std::make_unique<FakeTimer>(*this, std::move(fired));
    timers_.push_back(timer.get());
    return timer;
  }

  void Advance(std::chrono::milliseconds span) {
    const TimePoint end = now_ + span;
    for (;;) {
      FakeTimer* next = nullptr;
      for (FakeTimer* timer : timers_) {
        if (timer->due_ && *timer->due_ <= end && (!next || *timer->due_ < *next->due_)) {
          next = timer;
        }
      }
      if (next == nullptr) break;
      now_ = *next->due_;
      next->due_.reset();
      next->fired_();
    }
    now_ = end;
  }

 private:
  class FakeTimer : public Timer {
   public:
    FakeTimer(FakeClock& clock, std::function<void()> fired)
        : clock_(clock), fired_(std::move(fired)) {}
    ~FakeTimer() override { std::erase(clock_.timers_, this); }
    void Start(std::chrono::milliseconds delay) override { due_ = clock_.now_ + delay; }
    void Stop() override { due_.reset(); }
    bool IsActive() const override { return due_.has_value(); }

    FakeClock& clock_;
    std::function<void()> fired_;
    std::optional<TimePoint> due_;
  };

  TimePoint now_{std::chrono::hours(1)};
  std::vector<FakeTimer*> timers_;
};

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_FAKE_CLOCK_TEST_UTIL_H_
