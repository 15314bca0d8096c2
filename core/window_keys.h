#ifndef PARLAVOX_CORE_WINDOW_KEYS_H_
#define PARLAVOX_CORE_WINDOW_KEYS_H_

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "core/intercom.h"
#include "util/clock.h"

namespace parlavox {

// The keys of the main window, which it sees before any of its controls does: "O" and
// "F" turn the intercom on and off (with or without Ctrl), Enter and F5 call the
// selected user and F6 replies for as long as the key is held (a held key's repeats
// start nothing), letting go of any of the three or pressing Esc ends the call, and F1
// asks for help. Keys are virtual-key codes.
//
// A held key repeats as a release and a press that carry the same time stamp, and the
// window may not tell them from a real release; so a release is carried out only when
// no press of the same key with its time stamp follows within 30 ms.
class WindowKeys {
 public:
  static constexpr std::chrono::milliseconds kRepeatWait{30};

  WindowKeys(Intercom& intercom, Clock& clock, std::function<void()> help);

  // Whether the key was taken; a key not taken goes on to the controls. `time` is the
  // event's time stamp, in any unit.
  bool OnKeyDown(uint32_t virtual_key, bool repeat, uint64_t time);
  bool OnKeyUp(uint32_t virtual_key, bool repeat, uint64_t time);

 private:
  struct Release {
    uint32_t virtual_key;
    uint64_t time;
  };
  void CarryOutRelease();

  Intercom& intercom_;
  std::function<void()> help_;
  std::optional<Release> pending_;  // a release that may yet turn out to be a repeat
  std::unique_ptr<Timer> release_timer_;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_WINDOW_KEYS_H_
