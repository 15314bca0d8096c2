// The command-line control's requests, on an intercom on fakes.

#include "control/control_requests.h"

#include "core/intercom_bench_test_util.h"

namespace parlavox {
namespace {

using ControlRequestsTest = IntercomBench;

// A call is answered once it has started. One whose asker has gone by then (it gave up
// waiting for a share slow to answer) must not record on with nobody to hang it up.
TEST_F(ControlRequestsTest, ACallThatStartsAfterItsAskerLeftEndsAtOnce) {
  ListUser("Ann", 101);
  Start();
  share_.hold_answers = true;
  std::vector<std::string> answers;
  bool asker_there = true;
  const auto reply = [&](const std::string& answer) {
    if (asker_there) answers.push_back(answer);
    return asker_there;
  };
  AnswerControlRequest("call 0", intercom_, {}, reply);
  EXPECT_TRUE(answers.empty());
  share_.Answer();
  EXPECT_EQ(answers, std::vector<std::string>{"ok"});
  EXPECT_TRUE(recorder_.is_recording());
  AnswerControlRequest("hangup", intercom_, {}, reply);
  EXPECT_FALSE(recorder_.is_recording());

  AnswerControlRequest("call 0", intercom_, {}, reply);
  asker_there = false;
  share_.Answer();
  EXPECT_EQ(recorder_.starts, 2);
  EXPECT_FALSE(recorder_.is_recording());
  EXPECT_TRUE(share_.last_writer->finished);
  EXPECT_FALSE(priority_.raised);
}

}  // namespace
}  // namespace parlavox
