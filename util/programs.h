#ifndef PARLAVOX_UTIL_PROGRAMS_H_
#define PARLAVOX_UTIL_PROGRAMS_H_

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace parlavox {

// Other programs, started with argv[0] found on PATH, standard input from /dev/null.
// A program started here inherits no descriptor of this one but its standard streams:
// libsmbclient's connections are not close-on-exec, and a browser or mixer that held
// one would keep the server's session, its open files and their locks alive after the
// intercom let go of them.

// What running a program gave: its exit code (-1 when it could not be started) and
// what it printed, both streams together, without trailing blanks and newlines.
struct ProgramRun {
  int exit_code = -1;
  std::string output;
};
using ProgramRunner = std::function<ProgramRun(const std::vector<std::string>& argv)>;

// Runs `argv` and waits for it.
ProgramRun RunProgram(const std::vector<std::string>& argv);

// Starts `argv` in a session of its own, its output going nowhere, and does not wait
// for it (a thread reaps it when it ends). False when it could not be started.
bool StartProgram(const std::vector<std::string>& argv);

// A program started as by StartProgram whose end the caller's event loop may watch.
class WatchedProgram {
 public:
  explicit WatchedProgram(const std::vector<std::string>& argv);
  // A program that has not been waited for is reaped by a thread of its own when it ends.
  ~WatchedProgram();
  WatchedProgram(const WatchedProgram&) = delete;
  WatchedProgram& operator=(const WatchedProgram&) = delete;

  bool started() const { return pid_ > 0; }
  // Becomes readable once the program has ended (a pidfd); -1 when it never started.
  int end_descriptor() const { return end_descriptor_; }
  // Waits for the program to end and gives its exit code: -1 for one that never
  // started or was killed by a signal. Once only.
  int Wait();

 private:
  pid_t pid_;
  int end_descriptor_ = -1;
};

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_PROGRAMS_H_
