#ifndef PARLAVOX_PLATFORM_NICE_PROCESS_PRIORITY_H_
#define PARLAVOX_PLATFORM_NICE_PROCESS_PRIORITY_H_

#include <sys/types.h>

#include <map>

#include "core/process_priority.h"

namespace parlavox {

// Raises every thread of the process 10 nice steps and gives each its own nice value
// back afterwards (nice values are per thread on Linux). Raising needs the right to;
// without it nothing changes and nothing is reported.
class NiceProcessPriority : public ProcessPriority {
 public:
  void Raise() override;
  void Restore() override;

 private:
  std::map<pid_t, int> saved_;  // thread id -> nice value before Raise
};

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_NICE_PROCESS_PRIORITY_H_
