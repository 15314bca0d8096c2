#include "platform/nice_process_priority.h"

#include <sys/resource.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string>

namespace parlavox {
namespace {

// The step a high-priority process gets above normal.
constexpr int kHighPriorityBoost = 10;

}  // namespace

void NiceProcessPriority::Raise() {
  if (!saved_.empty()) return;
  std::error_code error;
  for (const auto& task : std::filesystem::directory_iterator("/proc/self/task", error)) {
    const pid_t thread = static_cast<pid_t>(std::stol(task.path().filename().string()));
    errno = 0;
    const int nice = getpriority(PRIO_PROCESS, static_cast<id_t>(thread));
    if (errno != 0) continue;
    if (setpriority(PRIO_PROCESS, static_cast<id_t>(thread),
                    std::max(nice - kHighPriorityBoost, -20)) == 0) {
      saved_[thread] = nice;
    }
  }
}

void NiceProcessPriority::Restore() {
  for (const auto& [thread, nice] : saved_)
    setpriority(PRIO_PROCESS, static_cast<id_t>(thread), nice);
  saved_.clear();
}

}  // namespace parlavox
