#include "util/serial_worker.h"

#include <sys/prctl.h>

namespace parlavox {

SerialWorker::SerialWorker(std::string name) : name_(std::move(name)) {}

SerialWorker::~SerialWorker() { Stop(); }

void SerialWorker::Post(std::function<void()> task) {
  MutexLock lock(mutex_);
  tasks_.push_back(std::move(task));
  work_.Set();
}

std::function<void()> SerialWorker::Take() {
  MutexLock lock(mutex_);
  if (tasks_.empty()) {
    // Under the lock, so that a task posted from now on sets the event again.
    if (!StopRequested()) work_.Reset();
    return {};
  }
  std::function<void()> task = std::move(tasks_.front());
  tasks_.pop_front();
  return task;
}

void SerialWorker::OnThreadStart() { prctl(PR_SET_NAME, name_.c_str()); }

void SerialWorker::Run() {
  for (;;) {
    if (std::function<void()> task = Take()) {
      task();
      continue;
    }
    if (StopRequested()) return;
    work_.Wait();
  }
}

}  // namespace parlavox
