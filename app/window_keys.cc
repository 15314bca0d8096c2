#include "app/window_keys.h"

#include "app/virtual_keys.h"

namespace parlavox {

bool WindowKeys::OnKeyDown(uint32_t virtual_key, bool repeat) {
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

bool WindowKeys::OnKeyUp(uint32_t virtual_key) {
  if (virtual_key != vk::kReturn && virtual_key != vk::kF5 && virtual_key != vk::kF6) return false;
  intercom_.StopCall();
  return true;
}

}  // namespace parlavox
