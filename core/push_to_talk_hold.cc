#include "core/push_to_talk_hold.h"

namespace parlavox {

PushToTalkHold::PushToTalkHold(Clock& clock, std::function<void()> released)
    : timer_(clock.NewTimer(std::move(released))) {}

}  // namespace parlavox
