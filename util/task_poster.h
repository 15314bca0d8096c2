#ifndef PARLAVOX_UTIL_TASK_POSTER_H_
#define PARLAVOX_UTIL_TASK_POSTER_H_

#include <functional>

namespace parlavox {

// Hands work to the owner's thread: background threads and audio objects report to
// their owner only through Post, so every listener call runs on the owner's thread.
// Post may be called from any thread; tasks run in the order they were posted.
class TaskPoster {
 public:
  virtual ~TaskPoster() = default;
  virtual void Post(std::function<void()> task) = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_TASK_POSTER_H_
