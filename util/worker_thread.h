#ifndef PARLAVOX_UTIL_WORKER_THREAD_H_
#define PARLAVOX_UTIL_WORKER_THREAD_H_

#include <pthread.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>

#include "util/manual_reset_event.h"

namespace parlavox {

// Base of every background thread: one thread at a time, a manual-reset stop event
// through which the owner asks the thread to end, and a lock for the derived class.
//
// The owner calls Start, Stop and IsRunning from one thread. Stop asks
// first and forces second: it sets the stop event, waits up to 5 s for the body to
// return (calling OnStopOverdue after the first second), then cancels the thread, in
// which case OnThreadEnd is not called.
//
// A derived Run loops until the stop event is set, and every wait in it either waits
// on the stop event (WaitForStop) or is bounded and followed by a look at it.
// A derived destructor must call Stop first, while its own members still exist.
class WorkerThread {
 public:
  // Thread priorities in the platform-neutral scale the callers use (-2 lowest,
  // -1 below normal, 0 normal, 1 above normal, 2 highest, -15 idle, 15 time
  // critical); each maps to a nice value relative to the process's own.
  static constexpr int kPriorityLowest = -2;

  WorkerThread() = default;
  WorkerThread(const WorkerThread&) = delete;
  WorkerThread& operator=(const WorkerThread&) = delete;
  virtual ~WorkerThread();

  // Starts a fresh thread running OnThreadStart, Run and OnThreadEnd. A thread that
  // still runs is left alone (true, priority unchanged); one that has ended is
  // joined first. Resets the stop event. Returns false when no thread could be
  // created, and otherwise whether the priority could be applied.
  bool Start(int priority);

  // Sets the stop event and ends the thread: waits 5000 ms for Run to return, then
  // cancels it. The event stays set.
  void Stop();
  // Sets the stop event without waiting for the thread to end.
  void RequestStop();

  // True while a started thread has not yet finished.
  bool IsRunning() const;

  // Changes the priority of the running thread, from the owner or from the thread
  // itself; false when it can't be changed.
  bool SetPriority(int priority);

 protected:
  virtual void Run() = 0;
  virtual void OnThreadStart() {}
  virtual void OnThreadEnd() {}

  // Waits up to `timeout` for a stop request; returns true when one came.
  bool WaitForStop(std::chrono::milliseconds timeout) const { return stop_event_.WaitFor(timeout); }
  bool StopRequested() const { return stop_event_.IsSet(); }
  // Called on the owner's thread each time a stop is asked for, so that a body that
  // waits on something of its own can be woken.
  virtual void OnStopRequested() {}
  // Called on the owner's thread when Stop has waited a second for the body in vain,
  // so that a body held in a wait that can be cut short only at some cost can be.
  virtual void OnStopOverdue() {}

 private:
  struct Launch;
  static void* ThreadEntry(void* launch);

  ManualResetEvent stop_event_;
  std::optional<pthread_t> thread_;
  std::atomic<bool> finished_{false};
  std::atomic<pid_t> thread_id_{0};
};

// The nice value that a thread of `priority` gets in a process whose nice value is
// `process_nice`, clamped to the range the system allows.
int NiceForPriority(int priority, int process_nice);

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_WORKER_THREAD_H_
