#include "platform/qt_clock.h"

#include <QTimer>

namespace parlavox {
namespace {

class QtTimer : public Timer {
 public:
  explicit QtTimer(std::function<void()> fired) {
    timer_.setSingleShot(true);
    timer_.setTimerType(Qt::PreciseTimer);  // the 20 ms looks at a message add to a call's delay
    QObject::connect(&timer_, &QTimer::timeout, std::move(fired));
  }
  void Start(std::chrono::milliseconds delay) override { timer_.start(delay); }
  void Stop() override { timer_.stop(); }
  bool IsActive() const override { return timer_.isActive(); }

 private:
  QTimer timer_;
};

}  // namespace

std::unique_ptr<Timer> QtClock::NewTimer(std::function<void()> fired) {
  return std::make_unique<QtTimer>(std::move(fired));
}

}  // namespace parlavox
