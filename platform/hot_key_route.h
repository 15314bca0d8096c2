#ifndef PARLAVOX_PLATFORM_HOT_KEY_ROUTE_H_
#define PARLAVOX_PLATFORM_HOT_KEY_ROUTE_H_

#include <string>

namespace parlavox {

// What a desktop session offers for system-wide hot keys.
struct HotKeySurroundings {
  bool wayland = false;           // XDG_SESSION_TYPE is "wayland" or WAYLAND_DISPLAY is set
  bool x11_display = false;       // an X server could be reached
  bool shortcuts_portal = false;  // the desktop portal offers global shortcuts
};

enum class HotKeyRoute { kPortal, kX11, kNone };

// The way to hot keys: on Wayland the desktop portal's global shortcuts, since key
// grabs there only see keys while an X11 program has the focus; else X11 key grabs.
struct HotKeyChoice {
  HotKeyRoute route;
  // What the status line says about it; "" when all is well.
  std::string note;
};

HotKeyChoice ChooseHotKeyRoute(const HotKeySurroundings& surroundings);

// Whether this is a Wayland session, by the environment.
bool IsWaylandSession();

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_HOT_KEY_ROUTE_H_
