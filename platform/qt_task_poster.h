#ifndef PARLAVOX_PLATFORM_QT_TASK_POSTER_H_
#define PARLAVOX_PLATFORM_QT_TASK_POSTER_H_

#include <QObject>
#include <deque>
#include <functional>

#include "util/mutex.h"
#include "util/task_poster.h"

namespace parlavox {

// Posts tasks to the Qt event loop of the thread that creates the poster. The tasks
// wait in a queue of the poster's own and are taken from it, run and destroyed on that
// thread, one for each event the loop delivers (so that a loop run inside a task, as a
// modal dialog runs one, still runs the tasks that arrive meanwhile). Tasks still
// queued when the poster is destroyed are dropped; the poster must outlive every
// thread that posts to it.
class QtTaskPoster : public TaskPoster {
 public:
  QtTaskPoster() : receiver_(*this) {}
  QtTaskPoster(const QtTaskPoster&) = delete;
  QtTaskPoster& operator=(const QtTaskPoster&) = delete;

  void Post(std::function<void()> task) override;

 private:
  // Gets one event a task on the loop's thread.
  class Receiver : public QObject {
   public:
    explicit Receiver(QtTaskPoster& poster) : poster_(poster) {}
    bool event(QEvent* event) override;

   private:
    QtTaskPoster& poster_;
  };

  void RunNext();

  Mutex mutex_;
  std::deque<std::function<void()>> tasks_ GUARDED_BY(mutex_);
  Receiver receiver_;  // last: destroyed first, taking its events along
};

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_QT_TASK_POSTER_H_
