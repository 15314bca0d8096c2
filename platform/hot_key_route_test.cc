#include "platform/hot_key_route.h"

#include <gtest/gtest.h>

namespace parlavox {
namespace {

TEST(HotKeyRouteTest, WaylandUsesThePortalAndFallsBackToX11WithANoteAndX11IgnoresAPortal) {
  EXPECT_EQ(
      ChooseHotKeyRoute({.wayland = true, .x11_display = true, .shortcuts_portal = true}).route,
      HotKeyRoute::kPortal);
  EXPECT_EQ(ChooseHotKeyRoute({.wayland = true, .shortcuts_portal = true}).note, "");

  const HotKeyChoice xwayland = ChooseHotKeyRoute({.wayland = true, .x11_display = true});
  EXPECT_EQ(xwayland.route, HotKeyRoute::kX11);
  EXPECT_EQ(xwayland.note,
            "Hot keys work only in X11 programs: the desktop offers no shortcuts portal");

  const HotKeyChoice bare = ChooseHotKeyRoute({.wayland = true});
  EXPECT_EQ(bare.route, HotKeyRoute::kNone);
  EXPECT_EQ(bare.note, "No hot keys: the desktop offers no shortcuts portal");

  // Elsewhere X11 is used, without a portal, where there is a display.
  const HotKeyChoice x11 = ChooseHotKeyRoute({.x11_display = true, .shortcuts_portal = true});
  EXPECT_EQ(x11.route, HotKeyRoute::kX11);
  EXPECT_EQ(x11.note, "");
  const HotKeyChoice none = ChooseHotKeyRoute({.shortcuts_portal = true});
  EXPECT_EQ(none.route, HotKeyRoute::kNone);
  EXPECT_EQ(none.note, "No hot keys: there is no X11 display");
}

TEST(HotKeyRouteTest, AWaylandSessionIsToldByEitherVariable) {
  unsetenv("XDG_SESSION_TYPE");
  unsetenv("WAYLAND_DISPLAY");
  EXPECT_FALSE(IsWaylandSession());
  setenv("XDG_SESSION_TYPE", "x11", 1);
  EXPECT_FALSE(IsWaylandSession());
  setenv("WAYLAND_DISPLAY", "wayland-0", 1);
  EXPECT_TRUE(IsWaylandSession());
  unsetenv("WAYLAND_DISPLAY");
  setenv("XDG_SESSION_TYPE", "wayland", 1);
  EXPECT_TRUE(IsWaylandSession());
  unsetenv("XDG_SESSION_TYPE");
}

}  // namespace
}  // namespace parlavox
