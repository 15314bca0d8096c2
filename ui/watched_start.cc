#include "ui/watched_start.h"

#include <QSocketNotifier>
#include <chrono>
#include <memory>

#include "util/programs.h"

namespace parlavox {
namespace {

// Past this, a program that ends with an error did what it was started for: xdg-open,
// say, may stay until the browser it started ends.
constexpr std::chrono::seconds kSoonAfterStart{10};

}  // namespace

bool StartAndWatch(const std::vector<std::string>& argv, QObject* context,
                   std::function<void()> failed) {
  auto program = std::make_shared<WatchedProgram>(argv);
  if (!program->started()) return false;
  if (program->end_descriptor() < 0) return true;  // a kernel older than pidfds: not watched
  const auto started = std::chrono::steady_clock::now();
  auto* end = new QSocketNotifier(program->end_descriptor(), QSocketNotifier::Read, context);
  QObject::connect(end, &QSocketNotifier::activated, end, [=] {
    end->setEnabled(false);
    end->deleteLater();
    if (program->Wait() != 0 && std::chrono::steady_clock::now() - started < kSoonAfterStart) {
      failed();
    }
  });
  return true;
}

}  // namespace parlavox
