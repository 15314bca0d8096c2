#include "platform/x11_hot_keys.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include <algorithm>
#include <atomic>

#include "platform/x11_key_symbols.h"
#include "words/virtual_keys.h"

namespace parlavox {
namespace {

// Set by the error handler while grabs are made: another client holds a key.
std::atomic<bool> grab_refused{false};

// The source that window managers let through when asked to activate or move a window.
constexpr long kFromAPager = 2;

int IgnoreError(Display*, XErrorEvent*) { return 0; }

int NoteRefusedGrab(Display*, XErrorEvent* error) {
  if (error->error_code == BadAccess) grab_refused = true;
  return 0;
}

// The modifier bit that `key_symbol` sets; 0 when it sets none.
unsigned int ModifierBitOf(Display* display, unsigned long key_symbol) {
  const KeyCode key_code = XKeysymToKeycode(display, key_symbol);
  if (key_code == 0) return 0;
  XModifierKeymap* map = XGetModifierMapping(display);
  unsigned int bit = 0;
  for (int modifier = 0; modifier < 8 && bit == 0; ++modifier) {
    for (int i = 0; i < map->max_keypermod; ++i) {
      if (map->modifiermap[modifier * map->max_keypermod + i] == key_code) {
        bit = 1u << modifier;
        break;
      }
    }
  }
  XFreeModifiermap(map);
  return bit;
}

unsigned int XModifiers(uint32_t modifiers) {
  return (modifiers & modifier::kAlt ? Mod1Mask : 0) |
         (modifiers & modifier::kControl ? ControlMask : 0) |
         (modifiers & modifier::kShift ? ShiftMask : 0);
}

}  // namespace

std::unique_ptr<X11HotKeys> X11HotKeys::Connect() {
  Display* display = XOpenDisplay(nullptr);
  if (display == nullptr) return nullptr;
  return std::unique_ptr<X11HotKeys>(new X11HotKeys(display));
}

X11HotKeys::X11HotKeys(Display* display) : display_(display) {
  FindLockCombinations();
  notifier_ = std::make_unique<QSocketNotifier>(ConnectionNumber(display_), QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, [this] {
    ReadEvents();
    GrabAnewIfRemapped();
  });
}

void X11HotKeys::FindLockCombinations() {
  const unsigned int locks[] = {LockMask, ModifierBitOf(display_, XK_Num_Lock),
                                ModifierBitOf(display_, XK_Scroll_Lock)};
  lock_combinations_.clear();
  for (unsigned int mix = 0; mix < 8; ++mix) {
    unsigned int combination = 0;
    for (int lock = 0; lock < 3; ++lock) {
      if (mix & (1u << lock)) combination |= locks[lock];
    }
    if (std::find(lock_combinations_.begin(), lock_combinations_.end(), combination) ==
        lock_combinations_.end()) {
      lock_combinations_.push_back(combination);
    }
  }
}

X11HotKeys::~X11HotKeys() {
  notifier_.reset();
  for (const auto& [id, binding] : bindings_) Grab(binding, false);
  XCloseDisplay(display_);
}

bool X11HotKeys::Grab(const Binding& binding, bool grab) {
  if (binding.key_code == 0) return false;  // 0 would be any key
  const Window root = DefaultRootWindow(display_);
  XErrorHandler previous = XSetErrorHandler(&NoteRefusedGrab);
  grab_refused = false;
  for (const unsigned int locks : lock_combinations_) {
    if (grab) {
      XGrabKey(display_, static_cast<int>(binding.key_code), binding.modifiers | locks, root, False,
               GrabModeAsync, GrabModeAsync);
    } else {
      XUngrabKey(display_, static_cast<int>(binding.key_code), binding.modifiers | locks, root);
    }
  }
  XSync(display_, False);
  XSetErrorHandler(previous);
  ReadEvents();  // the round trip may have brought events along
  return !grab_refused;
}

bool X11HotKeys::Register(int id, uint32_t modifiers, uint32_t virtual_key,
                          const std::string& /*description*/) {
  Unregister(id);
  const Binding binding{KeyCodeOf(virtual_key), XModifiers(modifiers), virtual_key};
  const bool granted = Grab(binding, true);
  if (granted) {
    bindings_[id] = binding;
  } else {
    Grab(binding, false);  // let go of the combinations that were granted
  }
  GrabAnewIfRemapped();
  return granted;
}

unsigned int X11HotKeys::KeyCodeOf(uint32_t virtual_key) {
  const std::optional<unsigned long> symbol = KeySymbolOf(virtual_key);
  return symbol ? XKeysymToKeycode(display_, *symbol) : 0;
}

void X11HotKeys::Unregister(int id) {
  const auto found = bindings_.find(id);
  if (found == bindings_.end()) return;
  Grab(found->second, false);
  bindings_.erase(found);
  GrabAnewIfRemapped();
}

void X11HotKeys::ReadEvents() {
  constexpr unsigned int kAssignable = Mod1Mask | ControlMask | ShiftMask;
  while (XPending(display_) > 0) {
    XEvent event;
    XNextEvent(display_, &event);
    if (event.type == MappingNotify) {
      XRefreshKeyboardMapping(&event.xmapping);
      if (event.xmapping.request != MappingPointer) remapped_ = true;
    }
    if (event.type != KeyPress) continue;
    for (const auto& [id, binding] : bindings_) {
      if (binding.key_code == event.xkey.keycode &&
          binding.modifiers == (event.xkey.state & kAssignable)) {
        if (fired_) fired_(id, binding.virtual_key);
        break;
      }
    }
  }
}

void X11HotKeys::GrabAnewIfRemapped() {
  // The grabs' own round trips may bring further changes along; each is caught up with.
  while (remapped_) {
    remapped_ = false;
    for (const auto& [id, binding] : bindings_) Grab(binding, false);
    FindLockCombinations();
    for (auto& [id, binding] : bindings_) {
      binding.key_code = KeyCodeOf(binding.virtual_key);
      Grab(binding, true);
    }
  }
}

std::optional<unsigned long> X11HotKeys::NumberProperty(unsigned long window, const char* name,
                                                        unsigned long type) {
  Atom got_type = 0;
  int format = 0;
  unsigned long items = 0, left = 0;
  unsigned char* data = nullptr;
  std::optional<unsigned long> value;
  // A window that is gone, or not this server's, has none (the default handler would end
  // the program).
  XErrorHandler previous = XSetErrorHandler(&IgnoreError);
  if (XGetWindowProperty(display_, window, XInternAtom(display_, name, False), 0, 1, False, type,
                         &got_type, &format, &items, &left, &data) == Success &&
      got_type == type && format == 32 && items == 1 && data != nullptr) {
    value = *reinterpret_cast<unsigned long*>(data);  // Xlib gives 32-bit items as longs
  }
  XSetErrorHandler(previous);
  if (data != nullptr) XFree(data);
  return value;
}

void X11HotKeys::AskWindowManager(unsigned long window, const char* message, long first,
                                  long second) {
  XEvent event{};
  event.xclient.type = ClientMessage;
  event.xclient.window = window;
  event.xclient.message_type = XInternAtom(display_, message, False);
  event.xclient.format = 32;
  event.xclient.data.l[0] = first;
  event.xclient.data.l[1] = second;
  XSendEvent(display_, DefaultRootWindow(display_), False,
             SubstructureRedirectMask | SubstructureNotifyMask, &event);
  XFlush(display_);
}

std::optional<DesktopActivation::Window> X11HotKeys::ActiveWindow() {
  const std::optional<unsigned long> id =
      NumberProperty(DefaultRootWindow(display_), "_NET_ACTIVE_WINDOW", XA_WINDOW);
  if (!id || *id == 0) return std::nullopt;
  return *id;
}

void X11HotKeys::Activate(Window window) {
  // Asks the window manager as a pager does, which is what it lets through.
  AskWindowManager(window, "_NET_ACTIVE_WINDOW", kFromAPager, CurrentTime);
}

void X11HotKeys::Present(Window window) {
  // A window manager asked to activate a window on another workspace may leave it
  // there (openbox does): it is moved to the workspace shown first, as a pager moves it.
  constexpr unsigned long kEveryWorkspace = 0xFFFFFFFF;
  const std::optional<unsigned long> shown =
      NumberProperty(DefaultRootWindow(display_), "_NET_CURRENT_DESKTOP", XA_CARDINAL);
  const std::optional<unsigned long> its = NumberProperty(window, "_NET_WM_DESKTOP", XA_CARDINAL);
  if (shown && its && *its != *shown && *its != kEveryWorkspace) {
    AskWindowManager(window, "_NET_WM_DESKTOP", static_cast<long>(*shown), kFromAPager);
  }
  Activate(window);
}

}  // namespace parlavox
