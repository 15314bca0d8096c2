#ifndef PARLAVOX_CORE_PROCESS_PRIORITY_H_
#define PARLAVOX_CORE_PROCESS_PRIORITY_H_

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

}  // namespace parlavox

#endif  // PARLAVOX_CORE_PROCESS_PRIORITY_H_
