#ifndef PARLAVOX_UTIL_THREAD_ACTIVITY_TEST_UTIL_H_
#define PARLAVOX_UTIL_THREAD_ACTIVITY_TEST_UTIL_H_

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace parlavox {

// What a thread of this process has done so far: how often it went to sleep, and how
// many clock ticks it ran. A thread that idles as it should changes neither; one that
// a timer wakes now and then changes the first, one that spins the second.
struct ThreadActivity {
  long sleeps = -1;
  long ticks = -1;
  bool operator==(const ThreadActivity&) const = default;
  friend std::ostream& operator<<(std::ostream& out, const ThreadActivity& activity) {
    return out << activity.sleeps << " sleeps, " << activity.ticks << " ticks";
  }
};

inline ThreadActivity ActivityOf(pid_t tid) {
  const std::string task = "/proc/self/task/" + std::to_string(tid);
  ThreadActivity activity;
  std::ifstream status(task + "/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("voluntary_ctxt_switches:")) activity.sleeps = std::stol(line.substr(24));
  }
  std::ifstream stat(task + "/stat");
  const std::string text((std::istreambuf_iterator<char>(stat)), {});
  std::istringstream fields(text.substr(text.rfind(')') + 2));
  std::string field;
  for (int i = 3; i <= 13; ++i) fields >> field;  // up to the 14th and 15th fields
  long user = 0, system = 0;
  if (fields >> user >> system) activity.ticks = user + system;
  return activity;
}

// The thread of this process named `name`; 0 when there is none.
inline pid_t ThreadNamed(const std::string& name) {
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream status(task.path() / "status");
    std::string line;
    if (std::getline(status, line) && line == "Name:\t" + name) {
      return pid_t(std::stol(task.path().filename().string()));
    }
  }
  return 0;
}

// How many clock ticks (of 100 a second) the threads `tids` run together in the next
// `span`.
inline long TicksWithin(const std::vector<pid_t>& tids, std::chrono::milliseconds span) {
  long before = 0, after = 0;
  for (pid_t tid : tids) before += ActivityOf(tid).ticks;
  std::this_thread::sleep_for(span);
  for (pid_t tid : tids) after += ActivityOf(tid).ticks;
  return after - before;
}

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_THREAD_ACTIVITY_TEST_UTIL_H_
