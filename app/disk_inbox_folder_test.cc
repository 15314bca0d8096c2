#include "app/disk_inbox_folder.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "app/scratch_folder_test_util.h"
#include "util/fake_clock_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

class DiskInboxFolderTest : public testing::Test {
 protected:
  DiskInboxFolderTest() {
    settings_.LocateFolders(folders_, scratch_.path());
    std::filesystem::create_directories(settings_.inward_folder());
  }
  std::string Path(const std::string& name) const { return settings_.inward_folder() + "/" + name; }

  ScratchFolder scratch_;
  FolderStore folders_{scratch_ / "user.ini", scratch_ / "machine.ini"};
  SettingsFile settings_;
  FakeClock clock_;
  DiskInboxFolder folder_{settings_, clock_};
};

TEST_F(DiskInboxFolderTest, OnlyRegularFilesNamedWavAreMessages) {
  std::filesystem::create_directory(Path("5.wav"));  // a folder, whatever its name
  WriteFileText(Path("notes.txt"), "");
  WriteFileText(Path("ParlavoxUserData"), "");
  EXPECT_EQ(folder_.FirstMessage(), std::nullopt);
  WriteFileText(Path(".wav"), "");
  EXPECT_EQ(folder_.FirstMessage(), ".wav");
  WriteFileText(Path("7.WAV"), "");

  folder_.Clear();
  EXPECT_TRUE(std::filesystem::is_directory(Path("5.wav")));
  EXPECT_TRUE(std::filesystem::exists(Path("notes.txt")));
  EXPECT_TRUE(std::filesystem::exists(Path("ParlavoxUserData")));
  EXPECT_FALSE(std::filesystem::exists(Path(".wav")));
  EXPECT_FALSE(std::filesystem::exists(Path("7.WAV")));
}

TEST_F(DiskInboxFolderTest, AMessageBeingPlayedIsHeldUntilItIsRemoved) {
  CreateWaveFileWriter(Path("12.wav"), 11025, 1, 16, 0)->Finish();
  ASSERT_NE(folder_.Open("12.wav"), nullptr);
  EXPECT_TRUE(LockMessage(Path("12.wav"), FileLock::Kind::kExclusive).refused());
  folder_.Release();
  EXPECT_TRUE(LockMessage(Path("12.wav"), FileLock::Kind::kExclusive).held());

  ASSERT_NE(folder_.Open("12.wav"), nullptr);
  folder_.Remove("12.wav");
  EXPECT_FALSE(std::filesystem::exists(Path("12.wav")));
  EXPECT_EQ(folder_.Open("13.wav"), nullptr);
}

TEST_F(DiskInboxFolderTest, AMessageIsComingWhileItChangesOnThisCopysClock) {
  WriteFileText(Path("12.wav"), "");  // created; the header is on its way
  EXPECT_TRUE(folder_.IsStillComing("12.wav"));
  clock_.Advance(1999ms);
  EXPECT_TRUE(folder_.IsStillComing("12.wav"));
  clock_.Advance(1ms);
  EXPECT_FALSE(folder_.IsStillComing("12.wav"));
  EXPECT_FALSE(folder_.IsStillComing("gone.wav"));
}

}  // namespace
}  // namespace parlavox
