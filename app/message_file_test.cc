#include "app/message_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

#include "app/scratch_folder_test_util.h"
#include "audio/wave_file.h"

namespace parlavox {
namespace {

void MakeOld(const std::string& path) {
  std::filesystem::last_write_time(
      path, std::filesystem::file_time_type::clock::now() - 2 * kMessageSettleTime);
}

TEST(MessageFileTest, AMessageIsComingUntilItsCallerFinishesIt) {
  ScratchFolder scratch;
  const std::string path = scratch / "12.wav";
  WriteFileText(path, "");
  EXPECT_TRUE(IsMessageStillComing(path));  // created, header not yet written
  auto writer = CreateWaveFileWriter(path, 11025, 1, 16, 0);
  EXPECT_TRUE(IsMessageStillComing(path));  // header only
  const std::vector<int32_t> sound(11025, 1000);
  writer->Write(sound.data(), int64_t(sound.size()));
  EXPECT_TRUE(IsMessageStillComing(path));  // the header still claims 32 s more
  writer.reset();
  EXPECT_FALSE(IsMessageStillComing(path));  // the exact header
}

TEST(MessageFileTest, AFileLeftUnchangedHasSettled) {
  ScratchFolder scratch;
  // A caller killed mid-call leaves its provisional header behind.
  const std::string killed = scratch / "12.wav";
  auto writer = CreateWaveFileWriter(killed, 11025, 1, 16, 0);
  const std::vector<int32_t> sound(11025, 1000);
  writer->Write(sound.data(), int64_t(sound.size()));
  MakeOld(killed);
  EXPECT_FALSE(IsMessageStillComing(killed));

  const std::string broken = scratch / "13.wav";
  WriteFileText(broken, "not a wave file");
  EXPECT_TRUE(IsMessageStillComing(broken));
  MakeOld(broken);
  EXPECT_FALSE(IsMessageStillComing(broken));

  EXPECT_FALSE(IsMessageStillComing(scratch / "gone.wav"));
}

}  // namespace
}  // namespace parlavox
