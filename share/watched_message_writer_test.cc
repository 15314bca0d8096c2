#include "share/watched_message_writer.h"

#include <gtest/gtest.h>

namespace parlavox {
namespace {

using namespace std::chrono_literals;

// Writes go on as a call's do, each taking `write_time`; asking whether the message is
// gone takes `answer_time`. Time is the test's.
TEST(WatchedMessageWriterTest, AsksOnceASecondForAFifthOfTheTimeAtMostAndTellsOnce) {
  WatchedMessageWriter::TimePoint now;
  std::chrono::milliseconds write_time = 40ms, answer_time = 0ms, asking{0};
  bool gone = false;
  int asked = 0, told = 0;
  WatchedMessageWriter writer(
      CreateWaveFileWriter(std::unique_ptr<WritableFile>(), 11025, 1, 16, 0),
      [&] {
        ++asked;
        now += answer_time;
        asking += answer_time;
        return gone;
      },
      [&] { ++told; }, [&] { return now; });
  const std::vector<int32_t> block(441);
  const auto write_for = [&](std::chrono::milliseconds span) {
    for (const auto end = now + span; now < end;) {
      now += write_time;
      writer.Write(block.data(), 441);
    }
  };

  write_for(5s);                            // a server close by
  EXPECT_EQ(asked, 5);                      // at 1 s, 2 s, ... 5 s
  write_time = 300ms, answer_time = 900ms;  // one far away: three round trips to answer
  const auto before = now;
  write_for(60s);
  EXPECT_LE(asking * 4, now - before);  // a fifth, and one asking more at the start
  EXPECT_EQ(told, 0);
  gone = true;
  write_for(10s);
  EXPECT_EQ(told, 1);
  const int asked_when_told = asked;
  write_for(10s);
  EXPECT_EQ(asked, asked_when_told);  // told once, then not asked again
}

}  // namespace
}  // namespace parlavox
