#ifndef PARLAVOX_APP_QT_TASK_POSTER_H_
#define PARLAVOX_APP_QT_TASK_POSTER_H_

#include <QObject>

#include "util/task_poster.h"

namespace parlavox {

// Posts tasks to the Qt event loop of the thread that owns `context`. Tasks still
// queued when the context is destroyed are dropped.
class QtTaskPoster : public TaskPoster {
 public:
  explicit QtTaskPoster(QObject* context) : context_(context) {}
  void Post(std::function<void()> task) override {
    QMetaObject::invokeMethod(context_, std::move(task), Qt::QueuedConnection);
  }

 private:
  QObject* context_;
};

}  // namespace parlavox

#endif  // PARLAVOX_APP_QT_TASK_POSTER_H_
