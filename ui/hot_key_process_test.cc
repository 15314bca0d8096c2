// System-wide hot keys of the real program, pressed while another program has the
// focus, on a desktop of the test's own.

#include "ui/desktop_copy_test_util.h"

// Xlib comes last: its macros would otherwise rewrite names in the headers above.
#include <X11/Xlib.h>
#include <X11/keysym.h>
#undef Status

namespace parlavox {
namespace {

class HotKeyTest : public DesktopCopyTest {
 protected:
  HotKeyTest() {
    // Ctrl+Alt with F9 calls Ann, F10 turns the intercom off, F11 opens the window,
    // F8 (which another program holds) would turn it on, and so does Y.
    copy_.SetHotKeys({{120, 3, 32}, {121, 3, 6}, {122, 3, 1}, {119, 3, 5}, {'Y', 3, 5}});
  }

  ~HotKeyTest() override {
    if (other_display_ != nullptr) XCloseDisplay(other_display_);
  }

  // Another program takes Ctrl+Alt+F8 for itself before the intercom starts.
  void AnotherProgramHoldsCtrlShiftF8() {
    other_display_ = XOpenDisplay(desktop_.display().c_str());
    ASSERT_NE(other_display_, nullptr);
    XGrabKey(other_display_, XKeysymToKeycode(other_display_, XK_F8), ControlMask | Mod1Mask,
             DefaultRootWindow(other_display_), False, GrabModeAsync, GrabModeAsync);
    XSync(other_display_, False);
  }

  // Another program, which has the focus.
  std::string StartOtherProgram() {
    other_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"/usr/bin/xmessage", "-title", "Other", "another program"},
        std::vector<std::string>{"DISPLAY=" + desktop_.display(), "HOME=" + scratch_.path()},
        "/dev/null", "/dev/null");
    EXPECT_TRUE(Eventually([&] { return desktop_.VisibleWindow("Other"); }));
    const std::string other = desktop_.VisibleWindow("Other").value_or("");
    desktop_.Run("xdotool windowactivate --sync " + other);
    return other;
  }

  std::string ActiveWindow() { return desktop_.Output("xdotool getactivewindow"); }

  Display* other_display_ = nullptr;
  std::unique_ptr<ChildProcess> other_;
};

TEST_F(HotKeyTest, AHeldHotKeyTalksFromAnotherProgramAndGivesTheFocusBackAlsoWithNumLockOn) {
  AnotherProgramHoldsCtrlShiftF8();
  StartWindow();
  const std::string other = StartOtherProgram();
  ASSERT_EQ(ActiveWindow(), other);

  desktop_.Run("xdotool keydown ctrl keydown alt keydown F9");  // held: the keyboard repeats
  ExpectGrowingMessage();
  std::this_thread::sleep_for(1s);
  EXPECT_TRUE(copy_.Status()["recording"].toBool());
  const auto released = std::chrono::steady_clock::now();
  desktop_.Run("xdotool keyup F9 keyup alt keyup ctrl");
  ExpectFinishedMessage();
  const auto ended = std::chrono::steady_clock::now() - released;
  EXPECT_GE(ended, 600ms);  // about 0.7 s after the last repeat
  EXPECT_LT(ended, 3s);
  EXPECT_TRUE(Eventually([&] { return ActiveWindow() == other; }));

  desktop_.Run("xdotool key ctrl+alt+F10");  // "Turn Parlavox Off"
  EXPECT_TRUE(Eventually([&] { return !copy_.OwnRecord().is_on(); }, 3s));
  desktop_.Run("xdotool key ctrl+alt+F8");  // held by the other program: skipped
  std::this_thread::sleep_for(500ms);
  EXPECT_FALSE(copy_.OwnRecord().is_on());

  HideThroughTheMenu();
  ASSERT_TRUE(Eventually([&] { return !desktop_.VisibleWindow("Parlavox"); }));
  desktop_.Run("xdotool key ctrl+alt+F11");  // "Open Parlavox"
  EXPECT_TRUE(Eventually([&] { return desktop_.VisibleWindow("Parlavox"); }));

  // Num Lock on does not stop a hot key.
  desktop_.Run("xdotool windowactivate --sync " + other);
  desktop_.Run("xdotool key Num_Lock");
  desktop_.Run("xdotool key ctrl+alt+F9");
  EXPECT_TRUE(Eventually([&] { return MessageSize() >= 46; }, 5s));
  ExpectFinishedMessage();
  desktop_.Run("xdotool key Num_Lock");

  // A keyboard layout set after the start (as a desktop sets it at login) moves the
  // letters: Y is where Z was, and its hot key goes with it.
  desktop_.Run("xdotool key ctrl+alt+F10");
  ASSERT_TRUE(Eventually([&] { return !copy_.OwnRecord().is_on(); }, 3s));
  desktop_.Run("setxkbmap -layout de");
  EXPECT_TRUE(Eventually([&] {  // pressed again until the program has heard of the change
    desktop_.Run("xdotool key ctrl+alt+y");
    return Eventually([&] { return copy_.OwnRecord().is_on(); }, 300ms);
  }));
}

}  // namespace
}  // namespace parlavox
