#ifndef PARLAVOX_PLATFORM_X11_HOT_KEYS_H_
#define PARLAVOX_PLATFORM_X11_HOT_KEYS_H_

#include <map>
#include <memory>
#include <vector>

#include <QSocketNotifier>

#include "core/hot_keys.h"

struct _XDisplay;

namespace parlavox {

// Hot keys through key grabs on the X server's root window, on a connection of their
// own whose events the owner's Qt event loop reads. Each key is grabbed with every
// combination of the lock modifiers (Caps Lock, Num Lock, Scroll Lock), so that it
// works whatever lock is on; a key that another client holds fails to register. A
// keyboard mapping changed later (a layout set by the desktop after the start) moves
// the grabs with the keys. It also tells and sets the active window through the
// desktop's window manager.
class X11HotKeys : public HotKeySystem, public DesktopActivation {
 public:
  // Connects to the X server that DISPLAY names; null when there is none.
  static std::unique_ptr<X11HotKeys> Connect();
  ~X11HotKeys() override;
  X11HotKeys(const X11HotKeys&) = delete;
  X11HotKeys& operator=(const X11HotKeys&) = delete;

  bool Register(int id, uint32_t modifiers, uint32_t virtual_key,
                const std::string& description) override;
  void Unregister(int id) override;
  void SetListener(Fired fired) override { fired_ = std::move(fired); }

  std::optional<Window> ActiveWindow() override;
  void Activate(Window window) override;
  void Present(Window window) override;

 private:
  struct Binding {
    unsigned int key_code;
    unsigned int modifiers;
    uint32_t virtual_key;
  };

  explicit X11HotKeys(_XDisplay* display);
  // The modifier masks of the locks, in every combination, as the keyboard maps them now.
  void FindLockCombinations();
  // The key that gives the symbol of `virtual_key` now; 0 for none.
  unsigned int KeyCodeOf(uint32_t virtual_key);
  // Grabs (or lets go of) a key with every lock combination; false when a grab failed.
  bool Grab(const Binding& binding, bool grab);
  // Fires the hot keys pressed and notes a change of the keyboard's mapping; grabs
  // nothing, so that it may run within a grab's round trip.
  void ReadEvents();
  // Grabs every binding again where the keyboard's mapping changed.
  void GrabAnewIfRemapped();
  // A property of `window` that holds one 32-bit number of `type`; nullopt without it.
  std::optional<unsigned long> NumberProperty(unsigned long window, const char* name,
                                              unsigned long type);
  // Sends the window manager the request `message` about `window`, with two numbers.
  void AskWindowManager(unsigned long window, const char* message, long first, long second);

  _XDisplay* display_;
  std::vector<unsigned int> lock_combinations_;
  std::map<int, Binding> bindings_;
  Fired fired_;
  bool remapped_ = false;
  std::unique_ptr<QSocketNotifier> notifier_;
};

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_X11_HOT_KEYS_H_
