#ifndef PARLAVOX_UTIL_EVENTUALLY_TEST_UTIL_H_
#define PARLAVOX_UTIL_EVENTUALLY_TEST_UTIL_H_

#include <chrono>
#include <thread>

namespace parlavox {

// Whether `done` comes true within `limit`, asked every `step`: the one way the tests
// wait for what another thread or process does, rather than sleeping a guessed time.
template <typename Predicate>
bool Eventually(Predicate done, std::chrono::milliseconds limit = std::chrono::seconds(10),
                std::chrono::milliseconds step = std::chrono::milliseconds(20)) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (std::chrono::steady_clock::now() < deadline) {
    if (done()) return true;
    std::this_thread::sleep_for(step);
  }
  return static_cast<bool>(done());
}

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_EVENTUALLY_TEST_UTIL_H_
