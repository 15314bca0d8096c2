#include "core/status_line.h"

#include <gtest/gtest.h>

#include "core/push_to_talk_hold.h"
#include "util/fake_clock_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

class StatusLineTest : public testing::Test {
 protected:
  // The texts shown since the last look, idle ones in brackets.
  std::vector<std::string> Shown() { return std::exchange(shown_, {}); }

  FakeClock clock_;
  std::vector<std::string> shown_;
  StatusLine line_{clock_, {"a", "b", "c"}, [this](const std::string& text, bool idle) {
                     shown_.push_back(idle ? "[" + text + "]" : text);
                   }};
};

TEST_F(StatusLineTest, IdleTextsTakeTurnsAndAStatusTextHoldsTheLineFor12Seconds) {
  line_.Start();
  clock_.Advance(799ms);
  EXPECT_TRUE(Shown().empty());
  clock_.Advance(1ms);
  EXPECT_EQ(Shown(), std::vector<std::string>{"[a]"});
  clock_.Advance(7999ms);
  EXPECT_TRUE(Shown().empty());
  clock_.Advance(1ms + 8000ms + 8000ms);
  EXPECT_EQ(Shown(), (std::vector<std::string>{"[b]", "[c]", "[a]"}));  // and round again

  clock_.Advance(3000ms);
  line_.ShowStatus("-> Ann");
  EXPECT_EQ(Shown(), std::vector<std::string>{"-> Ann"});
  EXPECT_EQ(line_.text(), "-> Ann");
  clock_.Advance(11999ms);
  EXPECT_TRUE(Shown().empty());
  clock_.Advance(1ms);
  EXPECT_EQ(Shown(), std::vector<std::string>{"[b]"});  // the rotation goes on where it was

  line_.ShowStatus("one");
  clock_.Advance(5000ms);
  line_.ShowStatus("two");  // a new status text holds the line for 12 s of its own
  clock_.Advance(11999ms);
  EXPECT_EQ(Shown(), (std::vector<std::string>{"one", "two"}));

  line_.Stop();
  clock_.Advance(60s);
  EXPECT_TRUE(Shown().empty());
}

TEST(PushToTalkHoldTest, AHotKeyCallEnds700msAfterTheLastHotKeyEvent) {
  FakeClock clock;
  int released = 0;
  PushToTalkHold hold(clock, [&] { ++released; });
  hold.Renew();
  for (int repeat = 0; repeat < 10; ++repeat) {  // auto-repeat every 30 ms while held
    clock.Advance(30ms);
    hold.Renew();
  }
  EXPECT_TRUE(hold.is_held());
  clock.Advance(699ms);
  EXPECT_EQ(released, 0);
  clock.Advance(1ms);
  EXPECT_EQ(released, 1);
  EXPECT_FALSE(hold.is_held());
  clock.Advance(5s);
  EXPECT_EQ(released, 1);
}

}  // namespace
}  // namespace parlavox
