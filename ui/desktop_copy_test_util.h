#ifndef PARLAVOX_UI_DESKTOP_COPY_TEST_UTIL_H_
#define PARLAVOX_UI_DESKTOP_COPY_TEST_UTIL_H_

#include <filesystem>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "app/intercom_copy_test_util.h"
#include "audio/sound_server_test_util.h"
#include "ui/virtual_desktop_test_util.h"

namespace parlavox {

using namespace std::chrono_literals;

// One person's copy of the real program with its window on a desktop of the test's
// own and a sound server of its own, and a colleague, Ann, whose intercom is on.
// Where the controls are, from the window's top left corner (the layout is fixed).
constexpr int kButtonsFromRight = 59;
constexpr int kCallY = 68;
constexpr int kReplyY = 96;
constexpr int kFirstUserX = 64, kFirstUserY = 71;
constexpr int kIntercomMenuX = 30, kIntercomMenuY = 8;

class DesktopCopyTest : public testing::Test {
 protected:
  DesktopCopyTest() {
    EXPECT_TRUE(PublishUser(ann_, "Ann", 101, true));
    copy_.Set("users", "folder0", ann_);
    copy_.Set("users", "foldercount", "1");
  }

  ~DesktopCopyTest() override {
    // A copy that ends badly (a sanitizer's report, a crash) fails the test.
    if (copy_.process_started() && copy_.process().running()) {
      copy_.Control({"--quit"});
      EXPECT_EQ(copy_.process().WaitForExit(10s), 0) << copy_.log();
    }
  }

  // Starts the copy with its window and waits until it shows the users.
  void StartWindow(const std::vector<std::string>& arguments = {}) {
    copy_.StartWindowed(desktop_.display(), arguments);
    ASSERT_TRUE(copy_.WaitUntilAnswering()) << copy_.log();
    ASSERT_TRUE(Eventually(
        [&] {
          const QJsonArray users = copy_.Status()["users"].toArray();
          return !users.isEmpty() && users[0].toObject()["on"].toBool();
        },
        10s));
    if (arguments != std::vector<std::string>{"/logon"}) {
      ASSERT_TRUE(Eventually([&] { return desktop_.VisibleWindow("Parlavox"); }));
      window_ = *desktop_.VisibleWindow("Parlavox");
      PutSplashAway();
    }
  }

  bool WindowShown() { return desktop_.VisibleWindow("Parlavox").has_value(); }

  // The splash window: the program's large window without the title "Parlavox".
  std::optional<std::string> Splash() {
    std::istringstream ids(desktop_.Output("xdotool search --onlyvisible --class parlavox"));
    std::string id;
    while (ids >> id) {
      if (desktop_.Geometry(id).width > 200 &&
          desktop_.Output("xdotool getwindowname " + id) != "Parlavox") {
        return id;
      }
    }
    return std::nullopt;
  }

  // Clicks the splash away, as a person does who wants to get going.
  void PutSplashAway() {
    if (!Eventually([&] { return Splash(); }, 3s)) return;
    desktop_.Run("xdotool mousemove --window " + *Splash() + " 20 20 click 1");
    ASSERT_TRUE(Eventually([&] { return !Splash(); }));
  }

  // Real key presses go to the window that has the focus.
  void Focus() { desktop_.Run("xdotool windowactivate --sync " + window_ + " 2>/dev/null"); }
  void Keys(const std::string& xdotool_arguments) {
    Focus();
    ASSERT_EQ(desktop_.Run("xdotool " + xdotool_arguments), 0) << xdotool_arguments;
  }
  void MouseTo(int x, int y) {
    desktop_.Run("xdotool mousemove --window " + window_ + " " + std::to_string(x) + " " +
                 std::to_string(y));
  }
  void Click(int x, int y) {
    MouseTo(x, y);
    desktop_.Run("xdotool click 1");
  }
  int WindowWidth() { return desktop_.Geometry(window_).width; }

  // Clicks as the xdotool arguments `click` say until a menu of the program shows. A
  // menu that is still closing may be counted, or take the click: it is made again then.
  void OpenMenu(const std::string& click) {
    ASSERT_TRUE(Eventually([&] {
      const int windows = desktop_.VisibleWindowCount("parlavox");
      desktop_.Run("xdotool " + click);
      return Eventually([&] { return desktop_.VisibleWindowCount("parlavox") > windows; }, 2s);
    }));
  }
  void OpenIntercomMenu() {
    OpenMenu("mousemove --window " + window_ + " " + std::to_string(kIntercomMenuX) + " " +
             std::to_string(kIntercomMenuY) + " click 1");
  }
  // Intercom, Close (Run in Background).
  void HideThroughTheMenu() {
    OpenIntercomMenu();
    desktop_.Run("xdotool key c");
  }

  std::string Message() const { return ann_ + "/" + std::to_string(copy_.OwnRecord().id) + ".wav"; }
  int64_t MessageSize() const {
    std::error_code error;
    const auto size = std::filesystem::file_size(Message(), error);
    return error ? -1 : int64_t(size);
  }

  // While something holds a call: the message file in Ann's folder keeps growing.
  void ExpectGrowingMessage() {
    ASSERT_TRUE(Eventually([&] { return MessageSize() > 46 + 441 * 2; }, 5s)) << copy_.log();
    const int64_t before = MessageSize();
    std::this_thread::sleep_for(400ms);
    EXPECT_GT(MessageSize(), before);
    EXPECT_TRUE(copy_.Status()["recording"].toBool());
  }

  // Once the call ended: the file has its exact header (and sound, unless the call was
  // too short to hold any).
  void ExpectFinishedMessage(bool with_sound = true) {
    ASSERT_TRUE(Eventually([&] { return !copy_.Status()["recording"].toBool(); }, 5s));
    ASSERT_TRUE(Eventually([&] { return MessageSize() >= 46; }, 5s));
    const std::string bytes = FileText(Message());
    EXPECT_GE(bytes.size(), with_sound ? 47u : 46u);
    EXPECT_TRUE(IsFinishedMessage(bytes)) << bytes.size() << " bytes";
    std::filesystem::remove(Message());
  }

  ScratchFolder scratch_;
  std::string ann_ = scratch_ / "ann";
  PrivateSoundServer server_{false};
  VirtualDesktop desktop_;
  IntercomCopy copy_{scratch_ / "me", server_.address()};
  std::string window_;
};

}  // namespace parlavox

#endif  // PARLAVOX_UI_DESKTOP_COPY_TEST_UTIL_H_
