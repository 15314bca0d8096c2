#ifndef PARLAVOX_UTIL_SERIAL_WORKER_H_
#define PARLAVOX_UTIL_SERIAL_WORKER_H_

#include <deque>
#include <functional>
#include <string>

#include "util/manual_reset_event.h"
#include "util/mutex.h"
#include "util/task_poster.h"
#include "util/worker_thread.h"

namespace parlavox {

// A thread that runs posted tasks one after another, in the order they were posted:
// where slow or blocking work (files on a share, sound-server round trips) goes so
// that the owner's thread never waits for it. Between tasks it sleeps without waking.
// Stop lets the tasks posted before it run first, within the usual 5 s; tasks posted
// while no thread runs wait for the next Start. Post may be called from any thread.
class SerialWorker : public WorkerThread, public TaskPoster {
 public:
  // `name` names the thread for tools such as top (at most 15 characters).
  explicit SerialWorker(std::string name);
  ~SerialWorker() override;

  void Post(std::function<void()> task) override;

 protected:
  void Run() override;
  void OnThreadStart() override;
  void OnStopRequested() override { work_.Set(); }

 private:
  // The next task, or an empty one when there is none.
  std::function<void()> Take();

  std::string name_;
  Mutex mutex_;
  std::deque<std::function<void()>> tasks_ GUARDED_BY(mutex_);
  ManualResetEvent work_;  // set while tasks wait, and by a stop request
};

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_SERIAL_WORKER_H_
