#include "share/disk_inbox_folder.h"

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "settings/scratch_settings_test_util.h"
#include "util/child_process_test_util.h"
#include "util/fake_clock_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

class DiskInboxFolderTest : public ScratchSettingsTest {
 protected:
  DiskInboxFolderTest() { std::filesystem::create_directories(settings_.inward_folder()); }
  std::string Path(const std::string& name) const { return settings_.inward_folder() + "/" + name; }

  FakeClock clock_;
  DiskInboxFolder folder_{settings_, clock_};
};

TEST_F(DiskInboxFolderTest, OnlyRegularFilesNamedWavAreMessages) {
  std::filesystem::create_directory(Path("5.wav"));  // a folder, whatever its name
  WriteFileText(Path("notes.txt"), "");
  WriteFileText(Path("ParlavoxUserData"), "");
  EXPECT_TRUE(folder_.Messages().empty());
  WriteFileText(Path(".wav"), "");
  EXPECT_EQ(folder_.Messages(), std::vector<std::string>{".wav"});
  WriteFileText(Path("7.WAV"), "");

  folder_.Clear();
  EXPECT_TRUE(std::filesystem::is_directory(Path("5.wav")));
  EXPECT_TRUE(std::filesystem::exists(Path("notes.txt")));
  EXPECT_TRUE(std::filesystem::exists(Path("ParlavoxUserData")));
  EXPECT_FALSE(std::filesystem::exists(Path(".wav")));
  EXPECT_FALSE(std::filesystem::exists(Path("7.WAV")));
}

// A listed message can't be written over by its caller's next call until it has been
// heard; one that its caller is cutting just then, or has just made, is held at a later
// listing, without getting in its caller's way.
TEST_F(DiskInboxFolderTest, WaitingMessagesAreHeldFromTheirListingUntilRemovedOrReleased) {
  CreateWaveFileWriter(Path("12.wav"), 11025, 1, 16, 0)->Finish();
  CreateWaveFileWriter(Path("13.wav"), 11025, 1, 16, 0)->Finish();
  WriteFileText(Path("14.wav"), "");
  std::optional<FileLock> cutting(LockMessage(Path("13.wav"), FileLock::Kind::kExclusive));
  EXPECT_EQ(folder_.Messages().size(), 3u);
  EXPECT_FALSE(folder_.all_held());
  cutting.reset();
  EXPECT_TRUE(LockMessage(Path("14.wav"), FileLock::Kind::kExclusive).held());
  std::filesystem::remove(Path("14.wav"));
  folder_.Messages();
  EXPECT_TRUE(folder_.all_held());
  for (const char* name : {"12.wav", "13.wav"}) {
    EXPECT_TRUE(OpenMessageForCall(Path(name)).still_playing) << name;
  }

  ASSERT_NE(folder_.Open("12.wav"), nullptr);
  EXPECT_TRUE(folder_.Remove("12.wav"));
  EXPECT_FALSE(std::filesystem::exists(Path("12.wav")));
  EXPECT_TRUE(LockMessage(Path("13.wav"), FileLock::Kind::kExclusive).refused());
  folder_.Release();
  EXPECT_TRUE(LockMessage(Path("13.wav"), FileLock::Kind::kExclusive).held());
  EXPECT_EQ(folder_.Open("14.wav"), nullptr);
}

TEST_F(DiskInboxFolderTest, AMessageIsComingWhileItChangesOnThisCopysClock) {
  WriteFileText(Path("12.wav"), "");  // created; the header is on its way
  EXPECT_TRUE(folder_.IsStillComing("12.wav"));
  clock_.Advance(1999ms);
  EXPECT_TRUE(folder_.IsStillComing("12.wav"));
  clock_.Advance(1ms);
  EXPECT_FALSE(folder_.IsStillComing("12.wav"));
  EXPECT_FALSE(folder_.IsStillComing("gone.wav"));

  ASSERT_TRUE(folder_.Remove("12.wav"));  // thrown away; its caller calls again later
  clock_.Advance(20s);
  WriteFileText(Path("12.wav"), "");
  EXPECT_TRUE(folder_.IsStillComing("12.wav"));
}

// An append-only folder (chattr +a) lets callers add and write messages but lets nobody
// delete them, not even root: as a share that refuses deletion does.
class AppendOnlyFolder {
 public:
  explicit AppendOnlyFolder(std::string path) : path_(std::move(path)) {
    made_ = Shell("chattr +a '" + path_ + "' 2>/dev/null") == 0;
  }
  ~AppendOnlyFolder() {
    if (made_ && Shell("chattr -a '" + path_ + "'") != 0) {
      ADD_FAILURE() << "the folder stays append-only: " << path_;
    }
  }
  bool made() const { return made_; }

 private:
  std::string path_;
  bool made_;
};

TEST_F(DiskInboxFolderTest, AMessageThatCantBeDeletedIsHeardOncePerArrival) {
  std::optional<AppendOnlyFolder> append_only(std::in_place, settings_.inward_folder());
  if (!append_only->made()) GTEST_SKIP() << "this file system has no append-only folders";
  CreateWaveFileWriter(Path("12.wav"), 11025, 1, 16, 0)->Finish();
  WriteFileText(Path("13.wav"), "junk");
  folder_.Clear();  // what waited before the start is not heard either
  EXPECT_TRUE(folder_.Messages().empty());

  auto writer = CreateWaveFileWriter(Path("12.wav"), 11025, 1, 16, 0);  // a new call
  const std::vector<int32_t> sound(100, 1000);
  writer->Write(sound.data(), 100);
  ASSERT_TRUE(writer->Finish());
  EXPECT_EQ(folder_.Messages(), std::vector<std::string>{"12.wav"});
  ASSERT_NE(folder_.Open("12.wav"), nullptr);
  EXPECT_FALSE(folder_.Remove("12.wav"));
  EXPECT_TRUE(std::filesystem::exists(Path("12.wav")));
  EXPECT_TRUE(folder_.Messages().empty());

  append_only.reset();  // the file system lets go of it: the next look deletes it
  EXPECT_TRUE(folder_.Messages().empty());
  EXPECT_FALSE(std::filesystem::exists(Path("12.wav")));
}

}  // namespace
}  // namespace parlavox
