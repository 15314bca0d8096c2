#ifndef PARLAVOX_APP_PROCESS_PRIORITY_H_
#define PARLAVOX_APP_PROCESS_PRIORITY_H_

#include <sys/types.h>

#include <map>

namespace parlavox {

// Raises every thread of the process for the length of a call and gives each its own
// nice value back afterwards (nice values are per thread on Linux). Raising needs the
// right to; without it nothing changes and nothing is reported.
class ProcessPriority {
 public:
  void Raise();
  void Restore();

 private:
  std::map<pid_t, int> saved_;  // thread id -> nice value before Raise
};

}  // namespace parlavox

#endif  // PARLAVOX_APP_PROCESS_PRIORITY_H_
