#include "platform/hot_key_route.h"

#include "util/paths.h"

namespace parlavox {

HotKeyChoice ChooseHotKeyRoute(const HotKeySurroundings& surroundings) {
  if (surroundings.wayland && surroundings.shortcuts_portal) return {HotKeyRoute::kPortal, ""};
  if (surroundings.wayland) {
    if (surroundings.x11_display) {
      return {HotKeyRoute::kX11,
              "Hot keys work only in X11 programs: the desktop offers no shortcuts portal"};
    }
    return {HotKeyRoute::kNone, "No hot keys: the desktop offers no shortcuts portal"};
  }
  if (surroundings.x11_display) return {HotKeyRoute::kX11, ""};
  return {HotKeyRoute::kNone, "No hot keys: there is no X11 display"};
}

bool IsWaylandSession() {
  return EnvironmentOr("XDG_SESSION_TYPE", "") == "wayland" ||
         !EnvironmentOr("WAYLAND_DISPLAY", "").empty();
}

}  // namespace parlavox
