#include "settings/settings_file.h"

#include <gtest/gtest.h>

#include "settings/profile_file.h"
#include "util/paths.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

class SettingsFileTest : public testing::Test {
 protected:
  SettingsFileTest() {
    std::filesystem::create_directory(program_);
    settings_.LocateFolders(folders_, program_);
  }

  void Put(std::string_view key, std::string_view value) {
    WriteProfileString(settings_.settings_path(), "settings", key, value);
  }

  ScratchFolder scratch_;
  std::string program_ = scratch_ / "program";
  FolderStore folders_{scratch_ / "user/folders.ini", scratch_ / "machine/folders.ini"};
  SettingsFile settings_;
};

TEST_F(SettingsFileTest, IntegersReadAsAtolDoes) {
  EXPECT_EQ(settings_.ReadInt("settings", "soundinchannel", -1), -1);
  Put("a", "abc");
  Put("b", "  -7xyz");
  Put("c", "+12");
  Put("d", "99999999999999999999");
  Put("e", "");
  EXPECT_EQ(settings_.ReadInt("settings", "a", 5), 0);
  EXPECT_EQ(settings_.ReadInt("settings", "b", 5), -7);
  EXPECT_EQ(settings_.ReadInt("settings", "c", 5), 12);
  EXPECT_EQ(settings_.ReadInt("settings", "d", 5), 2147483647);
  EXPECT_EQ(settings_.ReadInt("settings", "e", 5), 0);
  settings_.WriteInt("settings", "f", -2147483647 - 1);
  EXPECT_EQ(settings_.ReadText("settings", "f"), "-2147483648");
  EXPECT_EQ(settings_.ReadInt("settings", "f", 0), -2147483647 - 1);
}

TEST_F(SettingsFileTest, BooleansAreTrueOnlyForTrue) {
  EXPECT_TRUE(settings_.ReadBool("users", "on0", true));
  EXPECT_FALSE(settings_.ReadBool("users", "on0", false));
  for (const char* text : {"true", "True", "TRUE"}) {
    Put("flag", text);
    EXPECT_TRUE(settings_.ReadBool("settings", "flag", false)) << text;
  }
  for (const char* text : {"yes", "1", "", "true "}) {
    Put("flag", text);
    EXPECT_EQ(settings_.ReadBool("settings", "flag", true), std::string(text) == "true ") << text;
  }
  settings_.WriteBool("users", "on3", false);
  EXPECT_EQ(settings_.ReadText("users", "on3"), "false");
}

TEST_F(SettingsFileTest, DecibelsUseTheirOwnTextAndAPermissiveParser) {
  EXPECT_EQ(FormatDecibels(-127), "--dB");
  EXPECT_EQ(FormatDecibels(-128), "--dB");
  EXPECT_EQ(FormatDecibels(-12), "-12dB");
  EXPECT_EQ(FormatDecibels(6), "6dB");
  const std::pair<const char*, int> cases[] = {
      {"--dB", -127}, {"-6dB", -6}, {"12", 12},     {"dB", 0},      {"", 0},
      {"-3-", -127},  {"1-2", -12}, {"500dB", 127}, {"+ 4 d B", 4}, {"-99999999999999999999", -127},
  };
  for (const auto& [text, level] : cases) EXPECT_EQ(ParseDecibels(text), level) << text;

  EXPECT_EQ(settings_.ReadDecibels("settings", "soundoutvolume", 0), 0);
  EXPECT_EQ(settings_.ReadDecibels("settings", "soundoutvolume", kSilence), kSilence);
  settings_.WriteDecibels("settings", "soundinvolume", -128);
  EXPECT_EQ(settings_.ReadText("settings", "soundinvolume"), "--dB");
  EXPECT_EQ(settings_.ReadDecibels("settings", "soundinvolume", 0), kSilence);
}

TEST_F(SettingsFileTest, NumberedListsGrowMoveAndShrink) {
  settings_.MoveEntry("users", "name", "", 7, 8);  // missing source: empty destination
  EXPECT_EQ(FindProfileString(settings_.settings_path(), "users", "name8"), "");

  settings_.WriteCount("users", "folder", 3);
  for (int i = 0; i < 3; ++i) {
    settings_.WriteText("users", ListKey("folder", i), "/f" + std::to_string(i));
    settings_.WriteText("users", ListKey("name", i), "n" + std::to_string(i));
  }
  settings_.RemoveListEntry("users", "folder", {"folder", "name"}, 0);
  EXPECT_EQ(settings_.ReadCount("users", "folder"), 2);
  EXPECT_EQ(settings_.ReadText("users", "folder0"), "/f1");
  EXPECT_EQ(settings_.ReadText("users", "name1"), "n2");
  EXPECT_EQ(FindProfileString(settings_.settings_path(), "users", "folder2"), std::nullopt);

  settings_.RemoveListEntry("users", "folder", {"folder", "name"}, 1);  // the last entry
  EXPECT_EQ(settings_.ReadCount("users", "folder"), 1);
  EXPECT_EQ(settings_.ReadText("users", "folder1"), "/f2");  // stays, behind the count
  EXPECT_EQ(ListKey("key", 3, "mod"), "key3mod");

  // A hostile count can't make a list that takes the program hours to walk.
  settings_.WriteText("users", "foldercount", "2000000000");
  EXPECT_EQ(settings_.ReadCount("users", "folder"), SettingsFile::kMaxListCount);
  settings_.WriteText("users", "foldercount", "-5");
  EXPECT_EQ(settings_.ReadCount("users", "folder"), 0);
}

TEST_F(SettingsFileTest, LocatesFoldersWithThePerUserValueFirst) {
  EXPECT_EQ(settings_.data_folder(), program_ + "/");
  EXPECT_EQ(settings_.settings_path(), program_ + "/settings.ini");
  EXPECT_EQ(settings_.inward_folder(), program_ + "/Incoming");
  EXPECT_FALSE(settings_.current_user_only());

  folders_.Write(FolderScope::kMachine, "Incoming", "/srv/shared/in");
  folders_.Write(FolderScope::kMachine, "DataFiles", "/srv/data/");
  settings_.LocateFolders(folders_, program_);
  EXPECT_EQ(settings_.inward_folder(), "/srv/shared/in");
  EXPECT_FALSE(settings_.current_user_only());
  EXPECT_EQ(settings_.settings_path(), "/srv/data/settings.ini");

  folders_.Write(FolderScope::kCurrentUser, "Incoming", "/home/me/in");
  folders_.Write(FolderScope::kCurrentUser, "DataFiles", "/home/me/data");  // machine-wide only
  settings_.LocateFolders(folders_, program_);
  EXPECT_EQ(settings_.inward_folder(), "/home/me/in");
  EXPECT_TRUE(settings_.current_user_only());
  EXPECT_EQ(settings_.settings_path(), "/srv/data/settings.ini");

  const std::string long_folder = "/" + std::string(258, 'f');  // 259 characters
  folders_.Write(FolderScope::kCurrentUser, "Incoming", long_folder);
  settings_.LocateFolders(folders_, program_);
  EXPECT_EQ(settings_.inward_folder(), long_folder);
}

TEST_F(SettingsFileTest, SettingTheInwardFolderForAllUsersDropsThePerUserValue) {
  settings_.SetInwardFolder(folders_, "\\\\server\\share\\in\\\\", true);
  EXPECT_EQ(settings_.inward_folder(), "\\\\server\\share\\in");
  EXPECT_EQ(folders_.Read(FolderScope::kCurrentUser, "Incoming"), "\\\\server\\share\\in");
  EXPECT_EQ(folders_.Read(FolderScope::kMachine, "Incoming"), std::nullopt);

  settings_.SetInwardFolder(folders_, "/srv/office/in///", false);
  EXPECT_EQ(folders_.Read(FolderScope::kCurrentUser, "Incoming"), std::nullopt);
  settings_.LocateFolders(folders_, program_);
  EXPECT_EQ(settings_.inward_folder(), "/srv/office/in");
  EXPECT_FALSE(settings_.current_user_only());

  // A store that can't be written is passed over without complaint.
  WriteFileText(scratch_ / "blocker", "");
  FolderStore unwritable(scratch_ / "blocker/user.ini", scratch_ / "blocker/machine.ini");
  settings_.SetInwardFolder(unwritable, "/", true);
  EXPECT_EQ(settings_.inward_folder(), "/");
  EXPECT_TRUE(settings_.current_user_only());
}

TEST(PathsTest, JoinAndStripFollowBothSeparators) {
  EXPECT_EQ(JoinPath("/srv/in", "ParlavoxUserData"), "/srv/in/ParlavoxUserData");
  EXPECT_EQ(JoinPath("/srv/in/", "x"), "/srv/in/x");
  EXPECT_EQ(JoinPath("C:\\in\\", "x"), "C:\\in\\x");
  EXPECT_EQ(JoinPath("", "x"), "x");
  EXPECT_EQ(JoinPath(std::string(300, 'a'), "x").size(), kMaxPath);
  EXPECT_EQ(StripTrailingSeparators("C:\\"), "C:");
  EXPECT_EQ(StripTrailingSeparators("/"), "/");
  EXPECT_EQ(StripTrailingSeparators("//\\"), "/");
  EXPECT_EQ(StripTrailingSeparators(""), "");
}

}  // namespace
}  // namespace parlavox
