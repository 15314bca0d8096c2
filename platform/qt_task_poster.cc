#include "platform/qt_task_poster.h"

#include <QCoreApplication>
#include <QEvent>

namespace parlavox {
namespace {

const QEvent::Type kTaskEvent = static_cast<QEvent::Type>(QEvent::registerEventType());

}  // namespace

void QtTaskPoster::Post(std::function<void()> task) {
  {
    MutexLock lock(mutex_);
    tasks_.push_back(std::move(task));
  }
  QCoreApplication::postEvent(&receiver_, new QEvent(kTaskEvent));
}

bool QtTaskPoster::Receiver::event(QEvent* event) {
  if (event->type() != kTaskEvent) return QObject::event(event);
  poster_.RunNext();
  return true;
}

void QtTaskPoster::RunNext() {
  std::function<void()> task;
  {
    MutexLock lock(mutex_);
    if (tasks_.empty()) return;
    task = std::move(tasks_.front());
    tasks_.pop_front();
  }
  task();
}

}  // namespace parlavox
