#include "share/watched_message_writer.h"

#include <gtest/gtest.h>

namespace parlavox {
namespace {

using namespace std::chrono_literals;

// Each of its writes takes `cost` of the test's time.
class TimedWriter : public WaveFileWriter {
 public:
  TimedWriter(WatchedMessageWriter::TimePoint& now, const std::chrono::milliseconds& cost)
      : WaveFileWriter(11025, 1, 0), now_(now), cost_(cost) {}
  void Truncate(int64_t) override {}
  bool Finish() override { return true; }

 protected:
  void WriteBlock(const int32_t*, int) override { now_ += cost_; }

 private:
  WatchedMessageWriter::TimePoint& now_;
  const std::chrono::milliseconds& cost_;
};

// Writes come every 40 ms, or back to back where each takes longer (a round trip to a
// server far away, where asking whether the message is gone takes three, or more where
// the server is slow to answer that: how long the asking took is what counts).
TEST(WatchedMessageWriterTest, AsksOnceASecondAndOnAFarServerSeldomAndTellsOnce) {
  WatchedMessageWriter::TimePoint now;
  std::chrono::milliseconds write_time = 1ms, answer_time = 3ms, asking{0};
  bool gone = false;
  int asked = 0, told = 0;
  const auto watched = [&] {
    return std::make_unique<WatchedMessageWriter>(
        std::make_shared<TimedWriter>(now, write_time),
        [&] {
          ++asked;
          now += answer_time;
          asking += answer_time;
          return gone;
        },
        [&] { ++told; }, [&] { return now; });
  };
  const std::vector<int32_t> block(441);
  const auto write_for = [&](WatchedMessageWriter& writer, std::chrono::milliseconds span) {
    for (const auto end = now + span; now < end;) {
      now += std::max(40ms - write_time, 0ms);
      writer.Write(block.data(), 441);
    }
  };

  auto close_by = watched();
  write_for(*close_by, 5s);
  EXPECT_EQ(asked, 5);  // at 1 s, 2 s, ... 5 s

  write_time = 100ms, answer_time = 600ms, asked = 0;
  auto far = watched();
  write_for(*far, 8s);  // a short message is not broken up at all
  EXPECT_EQ(asked, 0);
  const auto before = now;
  write_for(*far, 120s);
  EXPECT_LE(asking * 25, now - before);  // a thirtieth, and one asking more
  EXPECT_EQ(told, 0);
  gone = true;
  write_for(*far, 20s);
  EXPECT_EQ(told, 1);
  const int asked_when_told = asked;
  write_for(*far, 20s);
  EXPECT_EQ(asked, asked_when_told);  // told once, then not asked again
}

}  // namespace
}  // namespace parlavox
