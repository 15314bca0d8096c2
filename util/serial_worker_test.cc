#include "util/serial_worker.h"

#include <unistd.h>

#include <chrono>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "util/thread_activity_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

TEST(SerialWorkerTest, RunsTasksInOrderOnItsOwnThread) {
  SerialWorker worker("test-serial");
  ASSERT_TRUE(worker.Start(0));
  std::vector<int> order;
  std::promise<pid_t> ran_on;
  for (int i = 0; i < 100; ++i) worker.Post([&order, i] { order.push_back(i); });
  worker.Post([&] { ran_on.set_value(gettid()); });
  const pid_t worker_thread = ran_on.get_future().get();
  EXPECT_NE(worker_thread, gettid());
  ASSERT_EQ(order.size(), 100u);
  for (int i = 0; i < 100; ++i) EXPECT_EQ(order[static_cast<size_t>(i)], i);

  // Idle, it sleeps without waking up now and then, and without spinning.
  std::this_thread::sleep_for(100ms);  // time to go to sleep after the last task
  const ThreadActivity before = ActivityOf(worker_thread);
  std::this_thread::sleep_for(300ms);
  EXPECT_EQ(ActivityOf(worker_thread), before);
}

TEST(SerialWorkerTest, StopRunsWhatWasPostedPromptlyAndLaterTasksWaitForTheNextStart) {
  SerialWorker worker("test-serial");
  ASSERT_TRUE(worker.Start(0));
  int done = 0;
  worker.Post([&] {
    std::this_thread::sleep_for(50ms);
    ++done;
  });
  worker.Post([&] { ++done; });
  worker.Stop();
  EXPECT_EQ(done, 2);
  EXPECT_FALSE(worker.IsRunning());

  worker.Post([&] { ++done; });
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(done, 2);
  ASSERT_TRUE(worker.Start(0));
  worker.Stop();
  EXPECT_EQ(done, 3);

  // Idle, it stops without being forced.
  ASSERT_TRUE(worker.Start(0));
  std::this_thread::sleep_for(20ms);
  const auto begin = std::chrono::steady_clock::now();
  worker.Stop();
  EXPECT_LT(std::chrono::steady_clock::now() - begin, 2s);  // well before the 5 s forced end
}

}  // namespace
}  // namespace parlavox
