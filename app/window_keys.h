#ifndef PARLAVOX_APP_WINDOW_KEYS_H_
#define PARLAVOX_APP_WINDOW_KEYS_H_

#include <cstdint>
#include <functional>

#include "app/intercom.h"

namespace parlavox {

// The keys of the main window, which it sees before any of its controls does: "O" and
// "F" turn the intercom on and off (with or without Ctrl), Enter and F5 call the
// selected user and F6 replies for as long as the key is held (a held key's repeats
// start nothing), letting go of any of the three or pressing Esc ends the call, and F1
// asks for help. Keys are virtual-key codes.
class WindowKeys {
 public:
  WindowKeys(Intercom& intercom, std::function<void()> help)
      : intercom_(intercom), help_(std::move(help)) {}

  // Whether the key was taken; a key not taken goes on to the controls.
  bool OnKeyDown(uint32_t virtual_key, bool repeat);
  bool OnKeyUp(uint32_t virtual_key);

 private:
  Intercom& intercom_;
  std::function<void()> help_;
};

}  // namespace parlavox

#endif  // PARLAVOX_APP_WINDOW_KEYS_H_
