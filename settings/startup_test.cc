#include "settings/startup.h"

#include <sys/stat.h>

#include <filesystem>

#include <gtest/gtest.h>

#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

TEST(StartupTest, TheDefaultInwardFolderIsMadeForColleaguesToWriteInto) {
  ScratchFolder scratch;
  setenv("XDG_DATA_HOME", scratch.path().c_str(), 1);
  const SettingsFile settings = LocateSettings(FolderStore(scratch / "u.ini", scratch / "m.ini"));
  ASSERT_EQ(settings.inward_folder(), scratch / "parlavox/Incoming");
  struct stat status {};
  ASSERT_EQ(stat(settings.inward_folder().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 01777u);
  EXPECT_EQ(InwardFolderAccessNote(settings.inward_folder()), "");
}

TEST(StartupTest, AnInwardFolderThatKeepsColleaguesOutIsToldWithTheFix) {
  ScratchFolder scratch;
  const std::string folder = scratch / "Incoming";
  std::filesystem::create_directory(folder);
  chmod(folder.c_str(), 0755);
  const std::string note = InwardFolderAccessNote(folder);
  EXPECT_NE(note.find("Colleagues can't leave messages"), std::string::npos) << note;
  EXPECT_NE(note.find("chmod 1777 '" + folder + "'"), std::string::npos) << note;
  chmod(folder.c_str(), 0777);
  EXPECT_EQ(InwardFolderAccessNote(folder), "");
  EXPECT_EQ(InwardFolderAccessNote(scratch / "missing"), "");
  EXPECT_EQ(InwardFolderAccessNote("\\\\fileserver\\office\\ann"), "");
}

}  // namespace
}  // namespace parlavox
