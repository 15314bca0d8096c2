// The main window's keys and its close question, on an intercom on fakes.

#include "core/window_keys.h"

#include "core/intercom_bench_test_util.h"
#include "core/stop_guard.h"
#include "words/virtual_keys.h"

namespace parlavox {
namespace {

class WindowKeysTest : public IntercomBench {
 protected:
  void SetUp() override {
    ListUser("Ann", 101);
    Start();
  }

  // Presses and lets go of keys, each event 100 ms after the last.
  bool Down(uint32_t key, bool repeat = false) {
    clock_.Advance(std::chrono::milliseconds(100));
    return keys_.OnKeyDown(key, repeat, ++time_);
  }
  bool Up(uint32_t key) {
    const bool taken = keys_.OnKeyUp(key, false, ++time_);
    clock_.Advance(std::chrono::milliseconds(100));
    return taken;
  }

  int helps_ = 0;
  uint64_t time_ = 1000;
  WindowKeys keys_{intercom_, clock_, [this] { ++helps_; }};
};

TEST_F(WindowKeysTest, HeldCallKeysCallUntilTheyAreLetGo) {
  for (const uint32_t key : {vk::kF5, vk::kReturn, vk::kF6}) {
    EXPECT_TRUE(Down(key)) << key;
    EXPECT_TRUE(recorder_.is_recording()) << key;
    EXPECT_TRUE(Down(key, true));  // the key repeats while held: nothing new
    EXPECT_TRUE(Up(key));
    EXPECT_FALSE(recorder_.is_recording()) << key;
  }
  EXPECT_EQ(recorder_.starts, 3);

  Down(vk::kF5);
  EXPECT_TRUE(Down(vk::kEscape));
  EXPECT_FALSE(recorder_.is_recording());
  Down(vk::kF5);
  Up(vk::kF6);  // letting go of any call key ends the call
  EXPECT_FALSE(recorder_.is_recording());
}

TEST_F(WindowKeysTest, ARepeatThatLooksLikeAReleaseKeepsTheCall) {
  Down(vk::kF5);
  keys_.OnKeyUp(vk::kF5, /*repeat=*/true, ++time_);  // a release that says it is a repeat
  clock_.Advance(WindowKeys::kRepeatWait);
  EXPECT_TRUE(recorder_.is_recording());
  for (int repeat = 0; repeat < 5; ++repeat) {
    // The window could not tell: a release, then a press with the same time stamp.
    keys_.OnKeyUp(vk::kF5, false, ++time_);
    clock_.Advance(std::chrono::milliseconds(5));
    keys_.OnKeyDown(vk::kF5, false, time_);
    clock_.Advance(std::chrono::milliseconds(40));
  }
  EXPECT_TRUE(recorder_.is_recording());
  EXPECT_EQ(recorder_.starts, 1);
  keys_.OnKeyUp(vk::kF5, false, ++time_);
  clock_.Advance(WindowKeys::kRepeatWait);
  EXPECT_FALSE(recorder_.is_recording());

  // A release followed by another key was real: the call ends at once, and the wait
  // that was pending does not end the next call.
  Down(vk::kF5);
  keys_.OnKeyUp(vk::kF5, false, ++time_);
  keys_.OnKeyDown('O', false, ++time_);
  EXPECT_FALSE(recorder_.is_recording());
  keys_.OnKeyDown(vk::kF5, false, ++time_);
  clock_.Advance(WindowKeys::kRepeatWait);
  EXPECT_TRUE(recorder_.is_recording());
}

TEST_F(WindowKeysTest, OAndFSwitchTheIntercomF1AsksForHelpAndTheMenusCallAndReplyToggle) {
  EXPECT_TRUE(Down('F'));
  EXPECT_EQ(view_.on, false);
  EXPECT_TRUE(Down('O'));
  EXPECT_EQ(view_.on, true);
  EXPECT_TRUE(Down(vk::kF1));
  EXPECT_EQ(helps_, 1);
  EXPECT_FALSE(Down('A'));  // everything else goes to the controls
  EXPECT_FALSE(Up('O'));
  EXPECT_FALSE(Up(vk::kEscape));

  // The menus' Call and Reply toggle.
  intercom_.ToggleCallSelected();
  EXPECT_TRUE(recorder_.is_recording());
  intercom_.ToggleReply();  // ends the call that runs
  EXPECT_FALSE(recorder_.is_recording());
  intercom_.ToggleReply();
  EXPECT_TRUE(recorder_.is_recording());
  intercom_.ToggleCallSelected();  // ends it too
  EXPECT_FALSE(recorder_.is_recording());
}

TEST(StopGuardTest, ClosingAsksUntilSomethingClosesWithoutAsking) {
  using Answer = StopGuard::Answer;
  using Outcome = StopGuard::Outcome;
  StopGuard guard;
  int asked = 0;
  auto answering = [&](Answer answer) {
    return [&asked, answer] {
      ++asked;
      return answer;
    };
  };
  EXPECT_EQ(guard.OnClose(answering(Answer::kYes)), Outcome::kHide);
  EXPECT_EQ(guard.OnClose(answering(Answer::kCancel)), Outcome::kStay);
  EXPECT_EQ(guard.OnClose(answering(Answer::kNo)), Outcome::kEnd);
  EXPECT_EQ(asked, 3);
  guard.DontAsk();  // --quit, an installer, the session ending
  EXPECT_EQ(guard.OnClose(answering(Answer::kCancel)), Outcome::kEnd);
  EXPECT_EQ(asked, 3);
  guard.AskAgain();  // a second start
  EXPECT_EQ(guard.OnClose(answering(Answer::kCancel)), Outcome::kStay);
}

}  // namespace
}  // namespace parlavox
