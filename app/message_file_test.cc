#include "app/message_file.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <filesystem>
#include <vector>

#include <gtest/gtest.h>

#include "app/scratch_folder_test_util.h"
#include "audio/wave_file.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

// Sets a file's time stamp `behind` before this machine's clock, as a file server
// whose clock runs late would.
void StampBehind(const std::string& path, std::chrono::seconds behind) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const timespec stamp[2] = {{now.tv_sec - behind.count(), now.tv_nsec},
                             {now.tv_sec - behind.count(), now.tv_nsec}};
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), stamp, 0), 0);
}

class MessageFileTest : public testing::Test {
 protected:
  bool Coming(const std::string& name) {
    return arrivals_.IsStillComing(name, LookAtMessage(scratch_ / name), now_);
  }

  ScratchFolder scratch_;
  MessageArrivals arrivals_;
  Clock::TimePoint now_{std::chrono::hours(1)};
  const std::vector<int32_t> sound_ = std::vector<int32_t>(11025, 1000);
};

TEST_F(MessageFileTest, AMessageIsComingUntilItsCallerFinishesIt) {
  WriteFileText(scratch_ / "12.wav", "");
  EXPECT_TRUE(Coming("12.wav"));  // created, header not yet written
  auto writer = CreateWaveFileWriter(scratch_ / "12.wav", 11025, 1, 16, 0);
  now_ += 1500ms;
  EXPECT_TRUE(Coming("12.wav"));  // header only
  writer->Write(sound_.data(), int64_t(sound_.size()));
  now_ += 1500ms;
  EXPECT_TRUE(Coming("12.wav"));  // the header still claims 32 s more
  ASSERT_TRUE(writer->Finish());
  EXPECT_FALSE(Coming("12.wav"));  // the exact header
  EXPECT_FALSE(Coming("gone.wav"));
}

TEST_F(MessageFileTest, OnlyChangesSeenHereCountNotTheWritersClock) {
  // A file server whose clock is 5 s late stamps every write 5 s in the past.
  auto writer = CreateWaveFileWriter(scratch_ / "12.wav", 11025, 1, 16, 0);
  for (int second = 0; second < 4; ++second) {
    writer->Write(sound_.data(), int64_t(sound_.size()));
    StampBehind(scratch_ / "12.wav", 5s);
    EXPECT_TRUE(Coming("12.wav")) << second;
    now_ += 1000ms;
  }
  // The caller died: nothing changes any more, and after the settle time it counts as
  // complete, though its header still claims more.
  EXPECT_TRUE(Coming("12.wav"));  // 1 s after the last change
  now_ += 1100ms;
  EXPECT_FALSE(Coming("12.wav"));

  // A file that isn't a wave file at all settles the same way, counted from when it
  // was first seen, however old its time stamp.
  WriteFileText(scratch_ / "13.wav", "not a wave file");
  StampBehind(scratch_ / "13.wav", 3600s);
  EXPECT_TRUE(Coming("13.wav"));
  now_ += kMessageSettleTime;
  EXPECT_FALSE(Coming("13.wav"));
}

TEST_F(MessageFileTest, AHeldMessageCanNotBeTakenForANewCall) {
  const std::string path = scratch_ / "12.wav";
  CreateWaveFileWriter(path, 11025, 1, 16, 0)->Finish();
  {
    const FileLock playing = LockMessage(path, FileLock::Kind::kShared);
    ASSERT_TRUE(playing.held());
    const FileLock caller = LockMessage(path, FileLock::Kind::kExclusive);
    EXPECT_FALSE(caller.held());
    EXPECT_TRUE(caller.refused());
  }
  const FileLock caller = LockMessage(path, FileLock::Kind::kExclusive);
  EXPECT_TRUE(caller.held());

  // A folder that can't be written is no refusal: the call goes on and writes nothing.
  const FileLock nowhere = LockMessage(scratch_ / "missing/12.wav", FileLock::Kind::kExclusive);
  EXPECT_FALSE(nowhere.held());
  EXPECT_FALSE(nowhere.refused());
}

}  // namespace
}  // namespace parlavox
