// The real program with its window, on a desktop of the test's own (Xvfb with a window
// manager and a tray), used as a person uses it: real key presses and mouse clicks.

#include <cmath>
#include <filesystem>
#include <sstream>

#include <gtest/gtest.h>

#include "app/intercom_copy_test_util.h"
#include "audio/sound_server_test_util.h"
#include "audio/wave_file.h"
#include "ui/virtual_desktop_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

// Where the controls are, from the window's top left corner (the layout is fixed).
constexpr int kButtonsFromRight = 59;
constexpr int kCallY = 68;
constexpr int kReplyY = 96;
constexpr int kFirstUserX = 64, kFirstUserY = 71;
constexpr int kIntercomMenuX = 30, kIntercomMenuY = 8;

class WindowTest : public testing::Test {
 protected:
  WindowTest() {
    Publish(ann_, "Ann", 101, true);
    copy_.Set("users", "folder0", ann_);
    copy_.Set("users", "foldercount", "1");
  }

  ~WindowTest() override {
    if (copy_.process_started()) {
      copy_.Control({"--quit"});
      copy_.process().WaitForExit(10s);
    }
  }

  static void Publish(const std::string& folder, const char* name, int32_t id, bool on) {
    UserRecord record;
    record.SetName(name);
    record.id = id;
    record.set_on(on);
    std::filesystem::create_directories(folder);
    ASSERT_TRUE(WriteUserRecord(record, folder + "/ParlavoxUserData"));
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
      ASSERT_TRUE(VirtualDesktop::WaitUntil([&] { return desktop_.VisibleWindow("Parlavox"); }));
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
    if (!VirtualDesktop::WaitUntil([&] { return Splash(); }, 3s)) return;
    desktop_.Run("xdotool mousemove --window " + *Splash() + " 20 20 click 1");
    ASSERT_TRUE(VirtualDesktop::WaitUntil([&] { return !Splash(); }));
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

  // Intercom, Close (Run in Background).
  void HideThroughTheMenu() {
    Click(kIntercomMenuX, kIntercomMenuY);
    std::this_thread::sleep_for(300ms);  // the menu opens
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

  // Once the call ended: the file has its exact header.
  void ExpectFinishedMessage() {
    ASSERT_TRUE(Eventually([&] { return !copy_.Status()["recording"].toBool(); }, 5s));
    const std::string bytes = FileText(Message());
    ASSERT_GT(bytes.size(), 46u);
    auto field = [&](size_t at) {
      return uint32_t(uint8_t(bytes[at])) | uint32_t(uint8_t(bytes[at + 1])) << 8 |
             uint32_t(uint8_t(bytes[at + 2])) << 16 | uint32_t(uint8_t(bytes[at + 3])) << 24;
    };
    EXPECT_EQ(field(4), bytes.size() - 8);
    EXPECT_EQ(field(42), bytes.size() - 46);
    std::filesystem::remove(Message());
  }

  ScratchFolder scratch_;
  std::string ann_ = scratch_ / "ann";
  PrivateSoundServer server_{false};
  VirtualDesktop desktop_;
  IntercomCopy copy_{scratch_ / "me", server_.address()};
  std::string window_;
};

TEST_F(WindowTest, HeldKeysButtonsAndNamesTalkForAsLongAsTheyAreHeld) {
  StartWindow();
  SCOPED_TRACE("F5");
  Keys("keydown F5");
  ExpectGrowingMessage();
  Keys("keyup F5");
  ExpectFinishedMessage();

  SCOPED_TRACE("the Call button");
  MouseTo(WindowWidth() - kButtonsFromRight, kCallY);
  desktop_.Run("xdotool mousedown 1");
  ExpectGrowingMessage();
  desktop_.Run("xdotool mouseup 1");
  ExpectFinishedMessage();

  SCOPED_TRACE("a user's name");
  MouseTo(kFirstUserX, kFirstUserY);  // held on the user's name
  desktop_.Run("xdotool mousedown 1");
  ExpectGrowingMessage();
  desktop_.Run("xdotool mouseup 1");
  ExpectFinishedMessage();

  SCOPED_TRACE("F6");
  // Ann called; F6 answers her.
  const std::vector<int32_t> tone(11025 / 4, 16000);
  CreateWaveFileWriter(copy_.inward_folder() + "/101.wav", 11025, 1, 16, 0)
      ->Write(tone.data(), int64_t(tone.size()));
  ASSERT_TRUE(Eventually([&] { return copy_.Status()["previous_caller"].toInt() == 101; }, 5s));
  Keys("keydown F6");
  ExpectGrowingMessage();
  Keys("keyup F6");
  ExpectFinishedMessage();
}

TEST_F(WindowTest, OAndFSwitchTheIntercomAndTheButtonsAndTrayFollow) {
  StartWindow();
  const std::optional<std::string> tray = desktop_.TrayIconWindow("parlavox");
  ASSERT_TRUE(tray);
  const VirtualDesktop::Box icon = desktop_.Geometry(*tray);
  const int x = icon.x + 3, y = icon.y + icon.height / 2;  // inside the picture's rim
  EXPECT_EQ(desktop_.ColourAt(x, y), "#2F9E44");           // green: on

  Keys("key f");
  ASSERT_TRUE(Eventually([&] { return !copy_.OwnRecord().is_on(); }, 3s));
  EXPECT_TRUE(VirtualDesktop::WaitUntil([&] { return desktop_.ColourAt(x, y) == "#9E9E9E"; }));
  Click(WindowWidth() - kButtonsFromRight, kCallY);  // "Call" is disabled while off
  std::this_thread::sleep_for(500ms);
  EXPECT_EQ(MessageSize(), -1);

  Keys("key ctrl+o");
  ASSERT_TRUE(Eventually([&] { return copy_.OwnRecord().is_on(); }, 3s));
  EXPECT_TRUE(VirtualDesktop::WaitUntil([&] { return desktop_.ColourAt(x, y) == "#2F9E44"; }));
}

TEST_F(WindowTest, TheTrayIconBringsTheHiddenWindowBack) {
  StartWindow();
  HideThroughTheMenu();
  ASSERT_TRUE(VirtualDesktop::WaitUntil([&] { return !WindowShown(); }));

  const std::optional<std::string> tray = desktop_.TrayIconWindow("parlavox");
  ASSERT_TRUE(tray);
  desktop_.Run("xdotool mousemove --window " + *tray + " 8 8 click 1");
  EXPECT_TRUE(VirtualDesktop::WaitUntil([&] { return WindowShown(); }));

  HideThroughTheMenu();
  ASSERT_TRUE(VirtualDesktop::WaitUntil([&] { return !WindowShown(); }));
  desktop_.Run("xdotool mousemove --window " + *tray + " 8 8 click 3");  // its menu
  std::this_thread::sleep_for(500ms);
  desktop_.Run("xdotool key Down Return");  // "Open Parlavox", the first item
  EXPECT_TRUE(VirtualDesktop::WaitUntil([&] { return WindowShown(); }));
}

TEST_F(WindowTest, ClosingAsksWhetherToGoOnInTheBackground) {
  StartWindow();
  Keys("key alt+F4");
  ASSERT_TRUE(VirtualDesktop::WaitUntil([&] { return desktop_.VisibleWindow("Confirm Stop"); }));
  desktop_.Run("xdotool key Return");  // Yes, the default: on in the background
  ASSERT_TRUE(VirtualDesktop::WaitUntil([&] { return !WindowShown(); }));
  EXPECT_EQ(copy_.Control({"--status"}).first, 0);
  EXPECT_TRUE(copy_.OwnRecord().is_on());

  EXPECT_EQ(copy_.Run({}).first.first, 0);  // a second start shows the running window
  ASSERT_TRUE(VirtualDesktop::WaitUntil([&] { return WindowShown(); }));
  window_ = *desktop_.VisibleWindow("Parlavox");

  Keys("key alt+F4");
  ASSERT_TRUE(VirtualDesktop::WaitUntil([&] { return desktop_.VisibleWindow("Confirm Stop"); }));
  desktop_.Run("xdotool key Escape");  // Cancel
  ASSERT_TRUE(VirtualDesktop::WaitUntil([&] { return !desktop_.VisibleWindow("Confirm Stop"); }));
  EXPECT_TRUE(WindowShown());

  Keys("key alt+F4");
  ASSERT_TRUE(VirtualDesktop::WaitUntil([&] { return desktop_.VisibleWindow("Confirm Stop"); }));
  desktop_.Run("xdotool key alt+n");  // No: the intercom ends
  EXPECT_EQ(copy_.process().WaitForExit(10s), 0) << copy_.log();
  EXPECT_FALSE(copy_.OwnRecord().is_on());

  // --quit, and the desktop session ending (SIGTERM), end it without the question.
  StartWindow();
  EXPECT_EQ(copy_.Control({"--quit"}).first, 0);
  EXPECT_EQ(copy_.process().WaitForExit(10s), 0);
  EXPECT_FALSE(copy_.OwnRecord().is_on());
  StartWindow();
  copy_.process().Signal(SIGTERM);
  EXPECT_EQ(copy_.process().WaitForExit(10s), 0);
  EXPECT_FALSE(copy_.OwnRecord().is_on());
}

TEST_F(WindowTest, StartedAtLogonItWaitsInTheTray) {
  StartWindow({"/logon"});
  EXPECT_TRUE(VirtualDesktop::WaitUntil([&] { return desktop_.TrayIconWindow("parlavox"); }));
  std::this_thread::sleep_for(1s);
  EXPECT_FALSE(WindowShown());
}

TEST_F(WindowTest, HelpOpensInTheBrowser) {
  // A stand-in for the desktop's browser, which records what it was asked to open.
  const std::string opened = scratch_ / "opened";
  WriteFileText(copy_.tools_folder() + "/xdg-open", "#!/bin/sh\necho \"$1\" >> '" + opened + "'\n");
  std::filesystem::permissions(copy_.tools_folder() + "/xdg-open",
                               std::filesystem::perms::owner_all);
  StartWindow({"/install"});
  EXPECT_TRUE(
      Eventually([&] { return FileText(opened).find("#topic-101") != std::string::npos; }, 5s));
  Keys("key F1");
  EXPECT_TRUE(Eventually(
      [&] {
        const std::string text = FileText(opened);
        return text.find("parlavox-help.html\n") != std::string::npos;
      },
      5s))
      << FileText(opened);
}

// The picture of the window in the README: three colleagues (on, off, not reached yet)
// and a message playing. Written to PARLAVOX_SCREENSHOT when that is set.
TEST_F(WindowTest, APictureOfTheWindowShowsUsersAndAPlayingMessage) {
  Publish(scratch_ / "ben", "Ben", 202, false);
  copy_.Set("users", "folder1", scratch_ / "ben");
  copy_.Set("users", "folder2", scratch_ / "carla");
  copy_.Set("users", "foldercount", "3");
  StartWindow();
  ASSERT_TRUE(Eventually([&] { return copy_.Status()["users"].toArray().size() == 3; }, 10s));
  std::vector<int32_t> tone(11025 * 8);
  for (size_t i = 0; i < tone.size(); ++i) {
    tone[i] = int32_t(420000 * std::sin(i * 0.3) * (0.6 + 0.4 * std::sin(i * 0.0007)));
  }
  CreateWaveFileWriter(copy_.inward_folder() + "/101.wav", 11025, 1, 16, 0)
      ->Write(tone.data(), int64_t(tone.size()));
  ASSERT_TRUE(Eventually([&] { return copy_.Status()["playing"].toBool(); }, 5s));
  std::this_thread::sleep_for(1500ms);
  const char* target = std::getenv("PARLAVOX_SCREENSHOT");
  const std::string path = target != nullptr ? target : scratch_ / "window.png";
  ASSERT_EQ(desktop_.Run("import -window " + window_ + " -frame '" + path + "'"), 0);
  EXPECT_TRUE(std::filesystem::file_size(path) > 1000);
}

}  // namespace
}  // namespace parlavox
