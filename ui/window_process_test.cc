// The real program with its window, on a desktop of the test's own (Xvfb with a window
// manager and a tray), used as a person uses it: real key presses and mouse clicks.

#include <cmath>
#include <filesystem>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

#include "audio/wave_file.h"
#include "platform/secret_store_test_util.h"
#include "share/samba_server_test_util.h"
#include "ui/desktop_copy_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

using WindowTest = DesktopCopyTest;

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

  SCOPED_TRACE("quick clicks on a user's name");
  for (int click = 0; click < 6; ++click) {
    // Press and release back to back, faster than the event loop turns: each release
    // ends the call its press started.
    desktop_.Run("xdotool mousedown 1 mouseup 1");
    ExpectFinishedMessage(/*with_sound=*/false);
  }

  SCOPED_TRACE("a press on blank space in the list");
  MouseTo(kFirstUserX, kFirstUserY + 80);  // below the only user
  desktop_.Run("xdotool mousedown 1");
  std::this_thread::sleep_for(500ms);
  EXPECT_FALSE(copy_.Status()["recording"].toBool());
  desktop_.Run("xdotool mouseup 1");
  Keys("keydown F5");  // nothing is highlighted: nobody to call
  std::this_thread::sleep_for(500ms);
  Keys("keyup F5");
  EXPECT_EQ(MessageSize(), -1) << "F5 called a user who is not highlighted";

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

// Started at logon, the intercom waits in the tray. Its icon brings the window, shows
// whether the intercom is on (O and F switch it), and its menu opens the window again.
TEST_F(WindowTest, StartedAtLogonItWaitsInATrayIconThatFollowsOnAndOffAndOpensTheWindow) {
  StartWindow({"/logon"});
  std::optional<std::string> tray;
  ASSERT_TRUE(Eventually([&] { return (tray = desktop_.TrayIconWindow("parlavox")).has_value(); }));
  std::this_thread::sleep_for(1s);
  EXPECT_FALSE(WindowShown());
  desktop_.Run("xdotool mousemove --window " + *tray + " 8 8 click 1");
  ASSERT_TRUE(Eventually([&] { return WindowShown(); }));
  window_ = *desktop_.VisibleWindow("Parlavox");

  const VirtualDesktop::Box icon = desktop_.Geometry(*tray);
  const int x = icon.x + 3, y = icon.y + icon.height / 2;  // inside the picture's rim
  EXPECT_EQ(desktop_.ColourAt(x, y), "#2F9E44");           // green: on
  Keys("key f");
  ASSERT_TRUE(Eventually([&] { return !copy_.OwnRecord().is_on(); }, 3s));
  EXPECT_TRUE(Eventually([&] { return desktop_.ColourAt(x, y) == "#9E9E9E"; }));
  Keys("key ctrl+o");
  ASSERT_TRUE(Eventually([&] { return copy_.OwnRecord().is_on(); }, 3s));
  EXPECT_TRUE(Eventually([&] { return desktop_.ColourAt(x, y) == "#2F9E44"; }));

  HideThroughTheMenu();
  ASSERT_TRUE(Eventually([&] { return !WindowShown(); }));
  OpenMenu("mousemove --window " + *tray + " 8 8 click 3");  // its menu
  desktop_.Run("xdotool key Down Return");                   // "Open Parlavox", the first item
  EXPECT_TRUE(Eventually([&] { return WindowShown(); }));
}

TEST_F(WindowTest, AStartFromTheMenuTakesOverFromACopyWithoutAWindow) {
  // The intercom runs as the person's service, without a window...
  ChildProcess service({PARLAVOX_BINARY, "/service"}, copy_.Environment(), "/dev/null",
                       scratch_ / "service.log");
  ASSERT_TRUE(copy_.WaitUntilAnswering());
  // ...and the person starts Parlavox from the menu: one intercom, now with a window.
  StartWindow();
  EXPECT_EQ(service.WaitForExit(10s), 0) << FileText(scratch_ / "service.log");
  // Another start just brings that window up, and says so in its log.
  HideThroughTheMenu();
  ASSERT_TRUE(Eventually([&] { return !WindowShown(); }));
  EXPECT_EQ(copy_.Run({}).first.first, 0);
  EXPECT_TRUE(Eventually([&] { return WindowShown(); }));
  EXPECT_NE(copy_.log().find("asked to show its window"), std::string::npos) << copy_.log();
  EXPECT_EQ(copy_.log().find("show itself; running without"), std::string::npos) << copy_.log();
}

// Carol's folder is on a Samba server that refuses guests: the window asks for the
// account, and the password typed there reaches her at the next poll and is kept in the
// desktop's secret store (GNOME Keyring on a session bus of the test's own).
TEST_F(WindowTest, ASambaServerThatRefusesAGuestAsksForTheAccountAndRemembersIt) {
  const std::string office = scratch_ / "office";
  ASSERT_TRUE(PublishUser(office + "/carol", "Carol", 303, true));
  SambaServer samba(scratch_ / "samba", {}, {{"office", office}});
  ASSERT_TRUE(samba.account_added()) << samba.log();
  ASSERT_TRUE(samba.Answers(10s)) << samba.log();
  const PrivateSecretStore store(scratch_ / "store");
  ASSERT_TRUE(store.ready()) << store.log();
  copy_.Set("users", "foldercount", "2");
  copy_.Set("users", "folder1", "\\\\127.0.0.1\\office\\carol");
  copy_.AddEnvironment(store.bus_variable());
  copy_.StartWindowed(desktop_.display());  // the splash goes by itself
  ASSERT_TRUE(copy_.WaitUntilAnswering()) << copy_.log();

  std::optional<std::string> dialog;
  ASSERT_TRUE(Eventually(
      [&] { return (dialog = desktop_.VisibleWindow("Log on to 127.0.0.1")).has_value(); }, 15s))
      << copy_.log();
  EXPECT_FALSE(copy_.UserStatus(1)["reached"].toBool(true));
  if (const char* picture = std::getenv("PARLAVOX_ACCOUNT_SCREENSHOT")) {
    desktop_.Screenshot(picture);
  }
  desktop_.Run("xdotool windowactivate --sync " + *dialog);
  desktop_.Run("xdotool type root");  // the user name is asked first
  desktop_.Run("xdotool key Tab");
  desktop_.Run(std::string("xdotool type ") + SambaServer::kPassword);
  desktop_.Run("xdotool key Return");  // OK; "Remember the password" is ticked
  ASSERT_TRUE(Eventually([&] { return copy_.UserStatus(1)["on"].toBool(); }, 15s)) << copy_.log();
  EXPECT_EQ(copy_.UserStatus(1)["name"].toString(), "Carol");
  EXPECT_TRUE(Eventually([&] {
    return store.SavedPassword("127.0.0.1") == SambaServer::kPassword;
  })) << store.log();

  // The next start finds the account in the store, where the file manager keeps its
  // own, and asks nothing.
  ASSERT_EQ(copy_.Control({"--quit"}).first, 0);
  ASSERT_EQ(copy_.process().WaitForExit(10s), 0) << copy_.log();
  copy_.StartWindowed(desktop_.display());
  ASSERT_TRUE(copy_.WaitUntilAnswering()) << copy_.log();
  EXPECT_TRUE(Eventually([&] { return copy_.UserStatus(1)["on"].toBool(); }, 15s)) << copy_.log();
  EXPECT_FALSE(desktop_.VisibleWindow("Log on to 127.0.0.1"));
}

TEST_F(WindowTest, ClosingAsksWhetherToGoOnInTheBackgroundAndEveryEndPublishesItOff) {
  StartWindow();
  Keys("key alt+F4");
  ASSERT_TRUE(Eventually([&] { return desktop_.VisibleWindow("Confirm Stop"); }));
  desktop_.Run("xdotool key Return");  // Yes, the default: on in the background
  ASSERT_TRUE(Eventually([&] { return !WindowShown(); }));
  EXPECT_TRUE(desktop_.TrayIconWindow("parlavox"));  // where it waits
  EXPECT_EQ(copy_.Control({"--status"}).first, 0);
  EXPECT_TRUE(copy_.OwnRecord().is_on());

  EXPECT_EQ(copy_.Run({}).first.first, 0);  // a second start shows the running window
  ASSERT_TRUE(Eventually([&] { return WindowShown(); }));
  window_ = *desktop_.VisibleWindow("Parlavox");
  // also from another workspace, bringing it to the one shown
  desktop_.Run("xdotool set_num_desktops 2 set_desktop_for_window " + window_ + " 1");
  ASSERT_TRUE(Eventually([&] { return !WindowShown(); }));
  EXPECT_EQ(copy_.Run({}).first.first, 0);
  EXPECT_TRUE(Eventually([&] { return WindowShown(); }));
  EXPECT_EQ(desktop_.Output("xdotool get_desktop"), "0");

  Keys("key alt+F4");
  ASSERT_TRUE(Eventually([&] { return desktop_.VisibleWindow("Confirm Stop"); }));
  desktop_.Run("xdotool key Escape");  // Cancel
  ASSERT_TRUE(Eventually([&] { return !desktop_.VisibleWindow("Confirm Stop"); }));
  EXPECT_TRUE(WindowShown());

  Keys("key alt+F4");
  ASSERT_TRUE(Eventually([&] { return desktop_.VisibleWindow("Confirm Stop"); }));
  desktop_.Run("xdotool key alt+n");  // No: the intercom ends
  EXPECT_EQ(copy_.process().WaitForExit(10s), 0) << copy_.log();
  EXPECT_FALSE(copy_.OwnRecord().is_on());

  // --quit, and the desktop session ending (SIGTERM), end it without the question, also
  // while the question is open.
  StartWindow();
  Keys("key alt+F4");
  ASSERT_TRUE(Eventually([&] { return desktop_.VisibleWindow("Confirm Stop"); }));
  EXPECT_EQ(copy_.Control({"--quit"}).first, 0);
  EXPECT_EQ(copy_.process().WaitForExit(10s), 0);
  EXPECT_FALSE(copy_.OwnRecord().is_on());
  StartWindow();
  copy_.process().Signal(SIGTERM);
  EXPECT_EQ(copy_.process().WaitForExit(10s), 0);
  EXPECT_FALSE(copy_.OwnRecord().is_on());

  // So does the display going away (a remote desktop closed, a display server that
  // crashed), which Qt answers with exit(1): mid-call, the message is finished.
  StartWindow();
  ASSERT_EQ(copy_.Control({"--call", "0"}).first, 0);
  ExpectGrowingMessage();
  desktop_.EndServer();
  EXPECT_EQ(copy_.process().WaitForExit(10s), 1) << copy_.log();
  EXPECT_TRUE(IsFinishedMessage(FileText(Message())));
  EXPECT_FALSE(copy_.OwnRecord().is_on());
}

// The picture of the window in the README: three colleagues (on, off, not reached)
// and a message playing. Written to PARLAVOX_SCREENSHOT when that is set.
TEST_F(WindowTest, APictureOfTheWindowShowsUsersAndAPlayingMessage) {
  ASSERT_TRUE(PublishUser(scratch_ / "ben", "Ben", 202, false));
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
  // What the picture shows, by its colours: the playback meter lit, a row highlighted,
  // and on it the selected user's light icon with its green "on" dot.
  std::map<std::string, long> colours;
  std::istringstream histogram(
      desktop_.Output("convert '" + path + "' -format %c histogram:info:-"));
  for (std::string line; std::getline(histogram, line);) {
    const size_t hash = line.find('#');
    if (hash != std::string::npos) colours[line.substr(hash, 7)] = std::stol(line);
  }
  EXPECT_GT(colours["#22C022"], 300) << "the playback meter is not lit";
  EXPECT_GT(colours["#308CC6"] + colours["#2F8AC3"] + colours["#3190CB"], 1000)
      << "no row is highlighted";
  EXPECT_GT(colours["#40C057"], 10) << "the selected user's on dot does not show";
}

}  // namespace
}  // namespace parlavox
