#include "core/window_keys.h"

#include "words/virtual_keys.h"

namespace parlavox {

namespace {

bool IsCallKey(uint32_t virtual_key) {
  return virtual_key == vk::kReturn || virtual_key == vk::kF5 || virtual_key == vk::kF6;
}

}  // namespace

WindowKeys::WindowKeys(Intercom& intercom, Clock& clock, std::function<void()> help)
    : intercom_(intercom),
      help_(std::move(help)),
      release_timer_(clock.NewTimer([this] { CarryOutRelease(); })) {}

bool WindowKeys::OnKeyDown(uint32_t virtual_key, bool repeat, uint64_t time) {
  if (pending_ && pending_->virtual_key == virtual_key && pending_->time == time) {
    pending_.reset();  // the release was the first half of a repeat
    release_timer_->Stop();
    repeat = true;
  } else if (pending_) {
    CarryOutRelease();  // another key: the release was real
  }
  switch (virtual_key) {
    case 'O':
      intercom_.TurnOn();
      return true;
    case 'F':
      intercom_.TurnOff();
      return true;
    case vk::kReturn:
    case vk::kF5:
      if (!repeat) intercom_.CallSelected();
      return true;
    case vk::kF6:
      if (!repeat) intercom_.Reply();
      return true;
    case vk::kEscape:
      intercom_.StopCall();
      return true;
    case vk::kF1:
      help_();
      return true;
    default:
      return false;
  }
}

bool WindowKeys::OnKeyUp(uint32_t virtual_key, bool repeat, uint64_t time) {
  if (!IsCallKey(virtual_key)) return false;
  if (repeat) return true;  // the key is still held
  if (pending_) CarryOutRelease();
  pending_ = Release{virtual_key, time};
  release_timer_->Start(kRepeatWait);
  return true;
}

void WindowKeys::CarryOutRelease() {
  release_timer_->Stop();
  pending_.reset();
  intercom_.StopCall();
}

}  // namespace parlavox
