// The main window's keys and its close question, on an intercom on fakes.

#include "app/window_keys.h"

#include "app/intercom_bench_test_util.h"
#include "app/stop_guard.h"
#include "app/virtual_keys.h"

namespace parlavox {
namespace {

class WindowKeysTest : public IntercomBench {
 protected:
  void SetUp() override {
    ListUser("Ann", 101);
    Start();
  }

  int helps_ = 0;
  WindowKeys keys_{intercom_, [this] { ++helps_; }};
};

TEST_F(WindowKeysTest, HeldCallKeysCallUntilTheyAreLetGo) {
  for (const uint32_t key : {vk::kF5, vk::kReturn, vk::kF6}) {
    EXPECT_TRUE(keys_.OnKeyDown(key, false)) << key;
    EXPECT_TRUE(recorder_.is_recording()) << key;
    EXPECT_TRUE(keys_.OnKeyDown(key, true));  // the key repeats while held: nothing new
    EXPECT_TRUE(keys_.OnKeyUp(key));
    EXPECT_FALSE(recorder_.is_recording()) << key;
  }
  EXPECT_EQ(recorder_.starts, 3);

  keys_.OnKeyDown(vk::kF5, false);
  EXPECT_TRUE(keys_.OnKeyDown(vk::kEscape, false));
  EXPECT_FALSE(recorder_.is_recording());
  keys_.OnKeyDown(vk::kF5, false);
  keys_.OnKeyUp(vk::kF6);  // letting go of any call key ends the call
  EXPECT_FALSE(recorder_.is_recording());
}

TEST_F(WindowKeysTest, OAndFSwitchTheIntercomAndF1AsksForHelp) {
  EXPECT_TRUE(keys_.OnKeyDown('F', false));
  EXPECT_EQ(view_.on, false);
  EXPECT_TRUE(keys_.OnKeyDown('O', false));
  EXPECT_EQ(view_.on, true);
  EXPECT_TRUE(keys_.OnKeyDown(vk::kF1, false));
  EXPECT_EQ(helps_, 1);
  EXPECT_FALSE(keys_.OnKeyDown('A', false));  // everything else goes to the controls
  EXPECT_FALSE(keys_.OnKeyUp('O'));
  EXPECT_FALSE(keys_.OnKeyUp(vk::kEscape));
}

TEST_F(WindowKeysTest, TheMenusCallAndReplyToggle) {
  intercom_.ToggleCallSelected();
  EXPECT_TRUE(recorder_.is_recording());
  intercom_.ToggleReply();  // ends the call that runs
  EXPECT_FALSE(recorder_.is_recording());
  intercom_.ToggleReply();
  EXPECT_TRUE(recorder_.is_recording());
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
