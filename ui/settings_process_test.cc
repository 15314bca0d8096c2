// The Settings sheet of the real program, used with the mouse and keyboard on a
// desktop of the test's own.

#include <signal.h>

#include <cmath>

#include "audio/wave_file.h"
#include "ui/desktop_copy_test_util.h"

namespace parlavox {
namespace {

// Where the sheet's controls are, from its top left corner (the layout is fixed).
constexpr int kSettingsItemY = 121;  // in the Intercom menu
constexpr int kUsersTabX = 112, kTabsY = 24;
constexpr int kOutputDevicesX = 204, kOutputDevicesY = 85;
constexpr int kFolderX = 161, kFolderY = 307;
constexpr int kOkX = 186, kCancelX = 272, kButtonsY = 536;
constexpr int kInputDevicesX = 204, kInputDevicesY = 183;
constexpr int kStartAtLoginX = 30, kStartAtLoginY = 495;
constexpr int kNameX = 245, kNameY = 456;
constexpr int kAddX = 335, kAddY = 85;
constexpr int kShareX = 102, kShareY = 387;
constexpr int kMixerX = 318, kMixerY = 238;

class SettingsTest : public DesktopCopyTest {
 protected:
  // Opens Intercom, Settings... and waits for the sheet.
  void OpenSettings() {
    OpenIntercomMenu();
    Click(kIntercomMenuX + 30, kSettingsItemY);
    ASSERT_TRUE(Eventually([&] { return desktop_.VisibleWindow("Settings"); }));
    sheet_ = *desktop_.VisibleWindow("Settings");
    desktop_.Run("xdotool windowactivate --sync " + sheet_);
  }
  void ClickInSheet(int x, int y) {
    desktop_.Run("xdotool mousemove --window " + sheet_ + " " + std::to_string(x) + " " +
                 std::to_string(y) + " click 1");
    std::this_thread::sleep_for(200ms);
  }
  void CloseSheet(int button_x) {
    ClickInSheet(button_x, kButtonsY);
    ASSERT_TRUE(Eventually([&] { return !desktop_.VisibleWindow("Settings"); }));
  }
  // Opens the drop-down list at (x, y), presses `keys` in it and waits until it has
  // closed, so that the next click reaches the sheet and not the closing list.
  void PickFromList(int x, int y, const std::string& keys) {
    const int windows = desktop_.VisibleWindowCount("parlavox");
    ClickInSheet(x, y);
    ASSERT_TRUE(Eventually([&] { return desktop_.VisibleWindowCount("parlavox") > windows; }));
    desktop_.Run("xdotool key " + keys);
    ASSERT_TRUE(Eventually([&] { return desktop_.VisibleWindowCount("parlavox") == windows; }));
  }
  std::string Setting(const char* key) const {
    return FindProfileString(copy_.settings(), "settings", key).value_or("<missing>");
  }

  std::string sheet_;
};

// A new person picks the devices by their names, starts at login, gives their name,
// moves the inward folder and adds colleagues by typing their folders. While the sheet
// is open others see them off. Leaving a page saves it, so Cancel undoes nothing; the
// next message plays from the new folder on the device picked.
TEST_F(SettingsTest, ANewPersonPicksDevicesStartsAtLoginMovesTheFolderAndAddsColleagues) {
  ASSERT_TRUE(PublishUser(scratch_ / "ben", "Ben", 202, true));
  ASSERT_TRUE(PublishUser(scratch_ / "cid", "Cid", 303, false));
  StartWindow();
  OpenSettings();
  // Others see this user off while the sheet is open.
  EXPECT_TRUE(Eventually([&] { return !copy_.OwnRecord().is_on(); }, 3s));
  PickFromList(kOutputDevicesX, kOutputDevicesY, "Down Down Return");  // the "mic" sink
  PickFromList(kInputDevicesX, kInputDevicesY, "Down Down Return");    // the second source
  ClickInSheet(kStartAtLoginX, kStartAtLoginY);
  ClickInSheet(kNameX, kNameY);
  desktop_.Run("xdotool key ctrl+a");
  desktop_.Run("xdotool type 'Dana Example'");
  if (const char* picture = std::getenv("PARLAVOX_SETTINGS_SCREENSHOT")) {
    desktop_.Screenshot(picture);
  }
  // The mixer, a stand-in that says what it was given: its arguments, and of this
  // program's descriptors nothing but the standard streams (3 is its own listing's).
  const std::string mixer = copy_.tools_folder() + "/pavucontrol", said = scratch_ / "mixer";
  WriteFileText(mixer, "#!/bin/sh\necho \"$@\" > " + said + "\nls /proc/self/fd >> " + said + "\n");
  std::filesystem::permissions(mixer, std::filesystem::perms::owner_all);
  ClickInSheet(kMixerX, kMixerY);
  EXPECT_TRUE(Eventually([&] { return FileText(said) == "--tab=4\n0\n1\n2\n3\n"; }, 5s))
      << FileText(said);
  const std::string moved = scratch_ / "moved";
  std::filesystem::create_directories(moved);
  ClickInSheet(kFolderX, kFolderY);
  desktop_.Run("xdotool key ctrl+a");
  desktop_.Run("xdotool type '" + moved + "'");
  ClickInSheet(kUsersTabX, kTabsY);
  for (const char* colleague : {"ben", "cid"}) {
    ClickInSheet(kAddX, kAddY);
    ASSERT_TRUE(Eventually([&] { return desktop_.VisibleWindow("Locate user folder"); }));
    desktop_.Run("xdotool windowactivate --sync " + *desktop_.VisibleWindow("Locate user folder"));
    desktop_.Run("xdotool type '" + (scratch_ / colleague) + "'");
    desktop_.Run("xdotool key Return");
    ASSERT_TRUE(Eventually([&] { return !desktop_.VisibleWindow("Locate user folder"); }));
  }
  CloseSheet(kCancelX);
  UserRecord record;  // the same person, on in the folder they moved to, by their name
  ASSERT_TRUE(Eventually([&] { return ReadUserRecord(&record, moved + "/ParlavoxUserData"); }, 3s));
  EXPECT_TRUE(record.is_on());
  EXPECT_EQ(record.id, copy_.OwnRecord().id);
  EXPECT_EQ(record.Name(), "Dana Example");
  EXPECT_FALSE(copy_.OwnRecord().is_on());  // the old folder shows them off
  // A folder made 0755 keeps colleagues out: said with the fix.
  EXPECT_NE(copy_.Status()["status"].toString().toStdString().find("chmod 1777"), std::string::npos)
      << copy_.Control({"--status"}).second;

  EXPECT_EQ(Setting("soundoutdevice"), "2");
  EXPECT_EQ(Setting("soundindevice"), "2");
  EXPECT_TRUE(Eventually(
      [&] {
        const QJsonArray users = copy_.Status()["users"].toArray();
        return users.size() == 3 && users[1].toObject()["name"] == "Ben" &&
               users[1].toObject()["on"].toBool() && users[2].toObject()["name"] == "Cid" &&
               !users[2].toObject()["on"].toBool();
      },
      8s))
      << copy_.Control({"--status"}).second;
  const std::string entry = FileText(copy_.home() + "/.config/autostart/parlavox.desktop");
  EXPECT_NE(entry.find(" /logon"), std::string::npos) << entry;

  // The "mic" sink's monitor hears the next message.
  SinkRecording mic(server_, "mic", scratch_ / "heard.raw");
  std::this_thread::sleep_for(500ms);
  std::vector<int32_t> tone(11025);
  for (size_t i = 0; i < tone.size(); ++i) tone[i] = int32_t(400000 * std::sin(i * 0.3));
  CreateWaveFileWriter(moved + "/101.wav", 11025, 1, 16, 0)
      ->Write(tone.data(), int64_t(tone.size()));
  ASSERT_TRUE(Eventually([&] { return copy_.Status()["playing"].toBool(); }, 5s));
  ASSERT_TRUE(Eventually([&] { return !copy_.Status()["playing"].toBool(); }, 5s));
  const std::vector<int16_t> heard = mic.Heard();
  const auto loud =
      std::count_if(heard.begin(), heard.end(), [](int16_t s) { return std::abs(s) > 500; });
  EXPECT_GT(loud, 11025 / 2) << heard.size() << " samples heard";

  // Ended while the sheet is open (--quit, as a logout's SIGTERM), it is not turned on
  // again on its way out: once the sheet opened, others see it off until it has gone.
  OpenSettings();
  const auto times_on = [this] {
    const std::string log = copy_.log();
    size_t times = 0;
    for (size_t at = 0; (at = log.find("intercom on\n", at)) != std::string::npos; ++at) ++times;
    return times;
  };
  const size_t on_before = times_on();
  ASSERT_EQ(copy_.Control({"--quit"}).first, 0);
  EXPECT_EQ(copy_.process().WaitForExit(10s), 0) << copy_.log();
  EXPECT_EQ(times_on(), on_before) << copy_.log();
}

// Sharing is refused while a folder above the inward folder keeps guests out, and made
// once the person lets them pass (a real user share of this machine, so the test runs
// as root).
TEST_F(SettingsTest, TheInwardFolderIsSharedAsASambaUserShareFromTheGeneralPage) {
  StartWindow();
  OpenSettings();
  constexpr const char* kBox = "Share on the network";
  // Answers the box that shows (another than `shown_before`) with `keys`; returns it.
  const auto answer = [&](const char* keys, const std::string& shown_before = "") {
    std::string box;
    EXPECT_TRUE(Eventually([&] {
      box = desktop_.VisibleWindow(kBox).value_or("");
      return !box.empty() && box != shown_before;
    }));
    if (const char* picture = std::getenv("PARLAVOX_SHARE_SCREENSHOT")) {
      desktop_.Screenshot(picture);
    }
    desktop_.Run("xdotool windowactivate --sync " + box);
    desktop_.Run(std::string("xdotool key ") + keys);
    return box;
  };
  ClickInSheet(kShareX, kShareY);
  answer("Return");  // the scratch folder is closed to others: nothing is shared
  ASSERT_TRUE(Eventually([&] { return !desktop_.VisibleWindow(kBox); }));
  EXPECT_NE(copy_.Control({"--unshare-inward"}).second.find("not shared"), std::string::npos);

  ClickInSheet(kShareX, kShareY);
  const std::string refused = answer("alt+l");  // "Let colleagues through"
  answer("alt+c", refused);                     // shared: "Copy names"
  ASSERT_TRUE(Eventually([&] { return !desktop_.VisibleWindow(kBox); }));
  EXPECT_NE(
      std::filesystem::status(scratch_.path()).permissions() & std::filesystem::perms::others_exec,
      std::filesystem::perms::none);
  const auto [unshared, said] = copy_.Control({"--unshare-inward"});
  EXPECT_EQ(unshared, 0);
  EXPECT_NE(said.find("no longer shared"), std::string::npos) << said;
  CloseSheet(kOkX);
}

}  // namespace
}  // namespace parlavox
