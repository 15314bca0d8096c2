#ifndef PARLAVOX_APP_PROCESS_PRIORITY_H_
#define PARLAVOX_APP_PROCESS_PRIORITY_H_

#include <sys/types.h>

#include <map>

namespace parlavox {

// Raises the process for the length of a call, so that recording is not starved while
// the message is written to a share, and lowers it again afterwards.
class ProcessPriority {
 public:
  virtual ~ProcessPriority() = default;
  // Raising twice raises once.
  virtual void Raise() = 0;
  // Gives back what Raise changed; nothing when not raised.
  virtual void Restore() = 0;
};

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

#endif  // PARLAVOX_APP_PROCESS_PRIORITY_H_
