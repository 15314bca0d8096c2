#ifndef PARLAVOX_UTIL_COUNTING_POSTER_TEST_UTIL_H_
#define PARLAVOX_UTIL_COUNTING_POSTER_TEST_UTIL_H_

#include <atomic>
#include <functional>

#include "util/task_poster.h"

namespace parlavox {

// Runs posted tasks at once, on the posting thread, and counts them.
class CountingPoster : public TaskPoster {
 public:
  void Post(std::function<void()> task) override {
    task();
    ++posts;
  }
  std::atomic<int> posts{0};
};

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_COUNTING_POSTER_TEST_UTIL_H_
