#ifndef PARLAVOX_CORE_PUSH_TO_TALK_HOLD_H_
#define PARLAVOX_CORE_PUSH_TO_TALK_HOLD_H_

#include <chrono>
#include <functional>
#include <memory>

#include "util/clock.h"

namespace parlavox {

// How long a call started by a hot key lasts: until 700 ms after the last hot-key
// event. Holding the keys keeps it going because every source of hot keys repeats
// its event while they are held (the keyboard's auto-repeat, or a repeating timer).
class PushToTalkHold {
 public:
  static constexpr std::chrono::milliseconds kHoldTime{700};

  // `released` runs once the hold has run out.
  PushToTalkHold(Clock& clock, std::function<void()> released);

  // A hot-key event: the 700 ms start again.
  void Renew() { timer_->Start(kHoldTime); }
  bool is_held() const { return timer_->IsActive(); }

 private:
  std::unique_ptr<Timer> timer_;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_PUSH_TO_TALK_HOLD_H_
