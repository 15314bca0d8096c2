#include "util/worker_thread.h"

#include <sys/resource.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "util/eventually_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// Records what happened to it; its body either waits politely for the stop event,
// returns at once, or ignores the event altogether.
class ProbeThread : public WorkerThread {
 public:
  enum class Body { kWaitForStop, kReturnAtOnce, kIgnoreStop, kDeafUntilOverdue };
  explicit ProbeThread(Body body) : body_(body) {}
  ~ProbeThread() override { Stop(); }

  std::atomic<int> starts{0};
  std::atomic<int> ends{0};
  std::atomic<bool> stop_seen_at_start{false};
  std::atomic<int> nice_in_body{99};
  std::atomic<int> overdue{0};

 protected:
  void OnThreadStart() override {
    stop_seen_at_start = StopRequested();
    errno = 0;
    nice_in_body = getpriority(PRIO_PROCESS, static_cast<id_t>(gettid()));
    ++starts;
  }
  void Run() override {
    switch (body_) {
      case Body::kWaitForStop:
        while (!WaitForStop(10s)) {
        }
        break;
      case Body::kReturnAtOnce:
        break;
      case Body::kIgnoreStop:
        for (;;) std::this_thread::sleep_for(10ms);
      case Body::kDeafUntilOverdue:
        while (overdue == 0) std::this_thread::sleep_for(10ms);
    }
  }
  void OnThreadEnd() override { ++ends; }
  void OnStopOverdue() override { ++overdue; }

 private:
  Body body_;
};

TEST(WorkerThreadTest, StartClearsAnOldStopIsNeverDoubledAndRestartsAfterTheBodyEnds) {
  ProbeThread waiting(ProbeThread::Body::kWaitForStop);
  EXPECT_FALSE(waiting.IsRunning());
  waiting.Stop();  // never started: only sets the event, which the start clears
  ASSERT_TRUE(waiting.Start(0));
  ASSERT_TRUE(Eventually([&] { return waiting.starts == 1; }));
  EXPECT_FALSE(waiting.stop_seen_at_start);
  EXPECT_TRUE(waiting.IsRunning());
  EXPECT_TRUE(waiting.Start(WorkerThread::kPriorityLowest));  // already running
  std::this_thread::sleep_for(50ms);
  EXPECT_EQ(waiting.starts, 1);
  waiting.Stop();
  EXPECT_FALSE(waiting.IsRunning());
  EXPECT_EQ(waiting.ends, 1);
  EXPECT_EQ(waiting.overdue, 0);  // it ended when asked

  ProbeThread quick(ProbeThread::Body::kReturnAtOnce);
  ASSERT_TRUE(quick.Start(0));
  ASSERT_TRUE(Eventually([&] { return !quick.IsRunning(); }));
  ASSERT_TRUE(quick.Start(0));  // the ended thread is joined and a fresh one starts
  ASSERT_TRUE(Eventually([&] { return quick.starts == 2 && quick.ends == 2; }));
}

TEST(WorkerThreadTest, BodyThatMissesTheStopIsToldItIsOverdueBeforeItIsEndedByForce) {
  ProbeThread deaf(ProbeThread::Body::kDeafUntilOverdue);
  ASSERT_TRUE(deaf.Start(0));
  ASSERT_TRUE(Eventually([&] { return deaf.starts == 1; }));
  deaf.Stop();
  EXPECT_EQ(deaf.overdue, 1);
  EXPECT_EQ(deaf.ends, 1);  // it ended by itself
}

TEST(WorkerThreadTest, BodyThatIgnoresStopIsEndedWithoutOnThreadEnd) {
#ifdef PARLAVOX_ADDRESS_SANITIZER
  // AddressSanitizer's runtime aborts while a cancelled thread unwinds (its
  // sigaltstack interceptor misreads the unwinding stack; google/sanitizers#1399),
  // so the forced end is tested in the other builds only.
  GTEST_SKIP() << "thread cancellation is not supported under AddressSanitizer";
#endif
  ProbeThread stubborn(ProbeThread::Body::kIgnoreStop);
  ASSERT_TRUE(stubborn.Start(0));
  ASSERT_TRUE(Eventually([&] { return stubborn.starts == 1; }));

  const auto began = Clock::now();
  stubborn.Stop();
  EXPECT_GE(Clock::now() - began, 5000ms);
  EXPECT_FALSE(stubborn.IsRunning());
  EXPECT_EQ(stubborn.overdue, 1);
  EXPECT_EQ(stubborn.ends, 0);
}

TEST(WorkerThreadTest, LowerPriorityBecomesAHigherNiceValue) {
  EXPECT_EQ(NiceForPriority(0, 0), 0);
  EXPECT_EQ(NiceForPriority(WorkerThread::kPriorityLowest, 0), 10);
  EXPECT_EQ(NiceForPriority(-1, 3), 8);
  EXPECT_EQ(NiceForPriority(2, 0), -10);
  EXPECT_EQ(NiceForPriority(-15, 0), 19);
  EXPECT_EQ(NiceForPriority(15, 0), -20);
  EXPECT_EQ(NiceForPriority(-2, 15), 19);  // clamped

  ProbeThread thread(ProbeThread::Body::kWaitForStop);
  errno = 0;
  const int process_nice = getpriority(PRIO_PROCESS, 0);
  ASSERT_EQ(errno, 0);
  ASSERT_TRUE(thread.Start(WorkerThread::kPriorityLowest));
  ASSERT_TRUE(Eventually([&] { return thread.starts == 1; }));
  EXPECT_EQ(thread.nice_in_body, NiceForPriority(WorkerThread::kPriorityLowest, process_nice));
}

// A derived object whose body keeps touching its own member: its destructor must
// end the thread before the member goes away (AddressSanitizer watches).
class BusyOwner : public WorkerThread {
 public:
  ~BusyOwner() override { Stop(); }
  std::atomic<bool> running{false};

 protected:
  void Run() override {
    running = true;
    while (!WaitForStop(1ms)) samples_.push_back(static_cast<int>(samples_.size()));
  }

 private:
  std::vector<int> samples_;
};

TEST(WorkerThreadTest, DestroyingARunningWorkerEndsItsThreadFirst) {
  auto owner = std::make_unique<BusyOwner>();
  ASSERT_TRUE(owner->Start(0));
  ASSERT_TRUE(Eventually([&] { return owner->running.load(); }));
  owner.reset();
}

}  // namespace
}  // namespace parlavox
