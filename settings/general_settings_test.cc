#include "settings/general_settings.h"

#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include "settings/scratch_settings_test_util.h"
#include "util/child_process_test_util.h"

namespace parlavox {
namespace {

class GeneralSettingsTest : public ScratchSettingsTest {
 protected:
  std::string Value(const char* key) { return settings_.ReadText(kSettingsSection, key, "-"); }

  FakeStartAtLogin login_;
};

TEST_F(GeneralSettingsTest, LeavingThePageWritesWhatItShows) {
  GeneralSettings page = LoadGeneralSettings(settings_, folders_, login_);
  EXPECT_EQ(page.output_device.position, 0);
  EXPECT_EQ(page.source_line, 0);         // the mixer line: "soundinchannel" -1
  page.output_device = {200, "speaker"};  // the line kept as a signed 8-bit value
  page.output_level = -6;
  page.input_device = {2, "mic.monitor"};
  page.source_line = 1;  // the first real source
  page.input_level = -127;
  SaveGeneralSettings(page, settings_, folders_, login_);
  EXPECT_EQ(Value("soundoutdevice"), "-56");
  EXPECT_EQ(Value("soundoutdevicename"), "speaker");
  EXPECT_EQ(Value("soundindevicename"), "mic.monitor");
  const GeneralSettings shown_again = LoadGeneralSettings(settings_, folders_, login_);
  EXPECT_EQ(shown_again.input_device.name, "mic.monitor");
  EXPECT_EQ(shown_again.output_device.name, "speaker");
  EXPECT_EQ(shown_again.output_level, -6);
  EXPECT_EQ(shown_again.input_level, -127);
  EXPECT_EQ(Value("soundoutvolume"), "-6dB");
  EXPECT_EQ(Value("soundindevice"), "2");
  EXPECT_EQ(Value("soundinchannel"), "0");
  EXPECT_EQ(Value("soundinvolume"), "--dB");

  page.source_line = 0;
  SaveGeneralSettings(page, settings_, folders_, login_);
  EXPECT_EQ(Value("soundinchannel"), "-1");
  page.source_line = -1;  // nothing selected
  SaveGeneralSettings(page, settings_, folders_, login_);
  EXPECT_EQ(Value("soundinchannel"), "-2");
  EXPECT_EQ(LoadGeneralSettings(settings_, folders_, login_).source_line, -1);
}

TEST_F(GeneralSettingsTest, TheFolderAndStartAtLoginAreWrittenOnlyWhenTheyChanged) {
  GeneralSettings page = LoadGeneralSettings(settings_, folders_, login_);
  page.current_user_only = true;  // the radio buttons alone write nothing
  SaveGeneralSettings(page, settings_, folders_, login_);
  EXPECT_EQ(folders_.Read(FolderScope::kCurrentUser, "Incoming"), std::nullopt);
  EXPECT_EQ(folders_.Read(FolderScope::kMachine, "Incoming"), std::nullopt);
  EXPECT_EQ(login_.changes, 0);  // nor is start at login switched when it is as shown
  page.start_at_login = true;
  SaveGeneralSettings(page, settings_, folders_, login_);
  SaveGeneralSettings(page, settings_, folders_, login_);
  EXPECT_TRUE(login_.on);
  EXPECT_EQ(login_.changes, 1);
  EXPECT_TRUE(LoadGeneralSettings(settings_, folders_, login_).start_at_login);

  page.inward_folder = "/srv/in//";
  page.folder_changed = true;
  SaveGeneralSettings(page, settings_, folders_, login_);
  EXPECT_EQ(folders_.Read(FolderScope::kCurrentUser, "Incoming"), "/srv/in");
  EXPECT_EQ(settings_.inward_folder(), "/srv/in");
  EXPECT_EQ(LoadGeneralSettings(settings_, folders_, login_).inward_folder, "/srv/in");
  EXPECT_TRUE(settings_.current_user_only());
}

TEST_F(GeneralSettingsTest, AFolderForAllUsersIsOfferedOnlyWhereItCanBeKept) {
  EXPECT_TRUE(LoadGeneralSettings(settings_, folders_, login_).for_everyone_possible);
  // The machine's store lies where this person may not write (an immutable folder
  // stands in for /etc/xdg: not even root may write there).
  const std::string machine = scratch_ / "etc/parlavox";
  std::filesystem::create_directories(machine);
  FolderStore folders(scratch_ / "user.ini", machine + "/folders.ini");
  if (Shell("chattr +i '" + machine + "' 2>/dev/null") != 0) {
    GTEST_SKIP() << "this file system has no immutable folders";
  }
  GeneralSettings page = LoadGeneralSettings(settings_, folders, login_);
  EXPECT_FALSE(page.for_everyone_possible);
  EXPECT_TRUE(page.current_user_only);
  page.current_user_only = false;  // asked for anyway: kept where it can be
  page.inward_folder = "/srv/in";
  page.folder_changed = true;
  SaveGeneralSettings(page, settings_, folders, login_);
  EXPECT_EQ(Shell("chattr -i '" + machine + "'"), 0);
  EXPECT_EQ(folders.Read(FolderScope::kCurrentUser, "Incoming"), "/srv/in");
  EXPECT_FALSE(std::filesystem::exists(machine + "/folders.ini"));
}

}  // namespace
}  // namespace parlavox
