#ifndef PARLAVOX_CORE_HOT_KEYS_H_
#define PARLAVOX_CORE_HOT_KEYS_H_

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace parlavox {

// System-wide hot keys, as the desktop provides them: a key with modifiers bound under
// an identifier reports every press (again and again while it is held) wherever the
// focus is.
class HotKeySystem {
 public:
  using Fired = std::function<void(int id, uint32_t virtual_key)>;

  virtual ~HotKeySystem() = default;

  // Binds `virtual_key` with `modifiers` (bits: 1 Alt, 2 Ctrl, 4 Shift) under `id`,
  // for what `description` says it does; false when the key has no counterpart here
  // or another program holds it.
  virtual bool Register(int id, uint32_t modifiers, uint32_t virtual_key,
                        const std::string& description) = 0;
  virtual void Unregister(int id) = 0;
  // Where presses go, on the owner's thread.
  virtual void SetListener(Fired fired) = 0;
  // The keys the desktop bound under `id` at the last binding, in its own words, where
  // it chooses the keys itself; "" where the keys asked for are the keys bound.
  virtual std::string DesktopBinding(int /*id*/) const { return {}; }
};

// Which window of the desktop has the activation, so that a call started by a hot key
// can give it back when it ends, and the program's own window brought to the person.
class DesktopActivation {
 public:
  using Window = uint64_t;

  virtual ~DesktopActivation() = default;
  virtual std::optional<Window> ActiveWindow() = 0;
  virtual void Activate(Window window) = 0;
  // Activates `window` where the person is: from another workspace, it comes to theirs.
  virtual void Present(Window window) = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_HOT_KEYS_H_
