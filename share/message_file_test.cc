#include "share/message_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <vector>

#include <gtest/gtest.h>

#include "audio/wave_file.h"
#include "share/watched_message_writer.h"
#include "util/scratch_folder_test_util.h"

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
  const long open_files = OpenFileCount();
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
  writer.reset();
  EXPECT_EQ(OpenFileCount(), open_files);  // looked at many times a second while it comes

  // A message that went before it was finished is forgotten: the next call's, made under
  // its name, is waited for afresh.
  std::filesystem::resize_file(scratch_ / "12.wav", 100);
  now_ += kHeaderWaitLimit;
  EXPECT_TRUE(Coming("12.wav"));
  std::filesystem::remove(scratch_ / "12.wav");
  EXPECT_FALSE(Coming("12.wav"));
  WriteFileText(scratch_ / "12.wav", "");
  EXPECT_TRUE(Coming("12.wav"));
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
  // The caller stalls, as one on a slow share does: seconds without a change are not
  // the end of its call. Only a caller silent for much longer counts as gone, and its
  // message as complete, though its header still claims more.
  now_ += 10s;
  EXPECT_TRUE(Coming("12.wav"));
  writer->Write(sound_.data(), int64_t(sound_.size()));  // it goes on
  EXPECT_TRUE(Coming("12.wav"));
  now_ += kStalledCallerTime - 1ms;
  EXPECT_TRUE(Coming("12.wav"));
  now_ += 1ms;
  EXPECT_FALSE(Coming("12.wav"));

  // A file that isn't a wave file at all settles after a short while, counted from
  // when it was first seen, however old its time stamp...
  WriteFileText(scratch_ / "13.wav", "not a wave file");
  StampBehind(scratch_ / "13.wav", 3600s);
  EXPECT_TRUE(Coming("13.wav"));
  now_ += kMessageSettleTime;
  EXPECT_FALSE(Coming("13.wav"));
  // ...and one that keeps changing without ever becoming a wave file is not waited
  // for beyond the limit.
  for (int look = 0; look < 20; ++look) {
    WriteFileText(scratch_ / "14.wav", std::string(look + 1, 'x'));
    const bool coming = Coming("14.wav");
    EXPECT_EQ(coming, look < 10) << look;
    now_ += 1s;
  }
}

TEST_F(MessageFileTest, AHeldMessageCanNotBeTakenForANewCall) {
  const long open_files = OpenFileCount();
  const std::string path = scratch_ / "12.wav";
  CreateWaveFileWriter(path, 11025, 1, 16, 0)->Finish();
  {
    const FileLock playing = LockMessage(path, FileLock::Kind::kShared);
    ASSERT_TRUE(playing.held());
    EXPECT_TRUE(LockMessage(path, FileLock::Kind::kExclusive).refused());
    const MessageForCall call = OpenMessageForCall(path);
    EXPECT_TRUE(call.still_playing);
    EXPECT_EQ(call.fd, -1);
    EXPECT_EQ(std::filesystem::file_size(path), 46u);  // not cut
  }
  // Heard: the next call takes it, cut empty.
  const MessageForCall call = OpenMessageForCall(path);
  EXPECT_FALSE(call.still_playing);
  ASSERT_GE(call.fd, 0);
  EXPECT_EQ(std::filesystem::file_size(path), 0u);
  close(call.fd);

  // A folder that can't be written is no refusal: the call goes on and writes nothing.
  const MessageForCall nowhere = OpenMessageForCall(scratch_ / "missing/12.wav");
  EXPECT_FALSE(nowhere.still_playing);
  EXPECT_EQ(nowhere.fd, -1);
  EXPECT_EQ(OpenFileCount(), open_files);  // a refused call leaves nothing open

  // Holding a message that went does not make it again.
  EXPECT_FALSE(LockMessage(scratch_ / "13.wav", FileLock::Kind::kShared).held());
  EXPECT_FALSE(std::filesystem::exists(scratch_ / "13.wav"));

  // What somebody else put under the message's name is refused at once and left as it
  // is: a FIFO (which would hold the call), a link to a file of the caller's, or one to
  // where nothing is yet.
  ASSERT_EQ(mkfifo((scratch_ / "21.wav").c_str(), 0666), 0);
  WriteFileText(scratch_ / "mine.txt", "precious");
  std::filesystem::create_symlink(scratch_ / "mine.txt", scratch_ / "22.wav");
  std::filesystem::create_symlink(scratch_ / "made.txt", scratch_ / "23.wav");
  for (const char* name : {"21.wav", "22.wav", "23.wav"}) {
    const MessageForCall planted = OpenMessageForCall(scratch_ / name);
    EXPECT_FALSE(planted.still_playing) << name;
    EXPECT_EQ(planted.fd, -1) << name;
    EXPECT_FALSE(LockMessage(scratch_ / name, FileLock::Kind::kExclusive).held()) << name;
  }
  EXPECT_EQ(FileText(scratch_ / "mine.txt"), "precious");
  EXPECT_FALSE(std::filesystem::exists(scratch_ / "made.txt"));
  EXPECT_EQ(OpenFileCount(), open_files);
}

// A caller's message taken from the callee's folder: deleted, or another file put in
// its place (renamed over it).
TEST(FileGoneCheckTest, SaysGoneOnceTheFileIsDeletedOrReplaced) {
  ScratchFolder scratch;
  const std::string path = scratch / "7.wav";
  EXPECT_EQ(FileGoneCheck(path), nullptr);  // nothing to watch
  WriteFileText(path, "RIFF");
  const std::function<bool()> gone = FileGoneCheck(path);
  ASSERT_NE(gone, nullptr);
  WriteFileText(path, "RIFFWAVE");  // written on: the same file
  EXPECT_FALSE(gone());
  WriteFileText(scratch / "other", "RIFF");
  std::filesystem::rename(scratch / "other", path);
  EXPECT_TRUE(gone());
  std::filesystem::remove(path);
  EXPECT_TRUE(gone());
}

}  // namespace
}  // namespace parlavox
