#include "util/worker_thread.h"

#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <future>

namespace parlavox {
namespace {

constexpr std::chrono::milliseconds kStopGrace{5000};
constexpr std::chrono::milliseconds kStopOverdue{1000};  // when the body is told

timespec DeadlineAfter(std::chrono::milliseconds delay) {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  const auto total_ns = static_cast<long long>(now.tv_nsec) +
                        std::chrono::duration_cast<std::chrono::nanoseconds>(delay).count();
  now.tv_sec += static_cast<time_t>(total_ns / 1'000'000'000);
  now.tv_nsec = static_cast<long>(total_ns % 1'000'000'000);
  return now;
}

// Marks the worker finished when the entry leaves, whether Run returned or the
// thread was cancelled and is being unwound.
class FinishedMark {
 public:
  explicit FinishedMark(std::atomic<bool>& finished) : finished_(finished) {}
  ~FinishedMark() { finished_.store(true); }

 private:
  std::atomic<bool>& finished_;
};

}  // namespace

int NiceForPriority(int priority, int process_nice) {
  int offset;
  if (priority <= -15) {
    offset = 19;
  } else if (priority >= 15) {
    offset = -20;
  } else {
    offset = -5 * priority;
  }
  return std::clamp(process_nice + offset, -20, 19);
}

// What a new thread needs from Start: the object, and the nice value to take on,
// with a way to tell Start whether that worked.
struct WorkerThread::Launch {
  WorkerThread* worker;
  int nice;
  std::promise<bool> priority_applied;
};

WorkerThread::~WorkerThread() { Stop(); }

bool WorkerThread::Start(int priority) {
  if (thread_) {
    if (!finished_.load()) return true;
    pthread_join(*thread_, nullptr);
    thread_.reset();
  }
  stop_event_.Reset();
  finished_.store(false);
  thread_id_.store(0);

  errno = 0;
  const int process_nice = getpriority(PRIO_PROCESS, 0);
  Launch launch{this, NiceForPriority(priority, errno == 0 ? process_nice : 0), {}};
  std::future<bool> priority_applied = launch.priority_applied.get_future();
  pthread_t thread;
  if (pthread_create(&thread, nullptr, &WorkerThread::ThreadEntry, &launch) != 0) {
    finished_.store(true);
    return false;
  }
  thread_ = thread;
  return priority_applied.get();
}

void* WorkerThread::ThreadEntry(void* argument) {
  auto* launch = static_cast<Launch*>(argument);
  WorkerThread* worker = launch->worker;
  FinishedMark mark(worker->finished_);
  // A thread's nice value is its own on Linux: setpriority on its thread id.
  worker->thread_id_ = gettid();
  const bool applied = setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), launch->nice) == 0;
  launch->priority_applied.set_value(applied);  // `launch` is gone after this line
  worker->OnThreadStart();
  worker->Run();
  worker->OnThreadEnd();
  return nullptr;
}

void WorkerThread::RequestStop() {
  stop_event_.Set();
  OnStopRequested();
}

void WorkerThread::Stop() {
  RequestStop();
  if (!thread_) return;
  const timespec overdue = DeadlineAfter(kStopOverdue);
  if (pthread_timedjoin_np(*thread_, nullptr, &overdue) == ETIMEDOUT) {
    OnStopOverdue();
    const timespec deadline = DeadlineAfter(kStopGrace - kStopOverdue);
    if (pthread_timedjoin_np(*thread_, nullptr, &deadline) == ETIMEDOUT) {
      pthread_cancel(*thread_);
      pthread_join(*thread_, nullptr);
    }
  }
  thread_.reset();
}

bool WorkerThread::IsRunning() const { return thread_.has_value() && !finished_.load(); }

bool WorkerThread::SetPriority(int priority) {
  // Also called by the thread itself, so only what it may read is looked at: the
  // thread's id is set by the thread before its body runs.
  const pid_t thread = thread_id_.load();
  if (thread == 0 || finished_.load()) return false;
  errno = 0;
  const int process_nice = getpriority(PRIO_PROCESS, 0);
  return setpriority(PRIO_PROCESS, static_cast<id_t>(thread),
                     NiceForPriority(priority, errno == 0 ? process_nice : 0)) == 0;
}

}  // namespace parlavox
