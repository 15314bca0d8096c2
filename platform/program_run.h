#ifndef PARLAVOX_PLATFORM_PROGRAM_RUN_H_
#define PARLAVOX_PLATFORM_PROGRAM_RUN_H_

#include <functional>
#include <string>
#include <vector>

namespace parlavox {

// What running a program gave: its exit code (-1 when it could not be started) and
// what it printed, both streams together.
struct ProgramRun {
  int exit_code = -1;
  std::string output;
};
using ProgramRunner = std::function<ProgramRun(const std::vector<std::string>& argv)>;

// Runs `argv` (argv[0] found on PATH) and waits for it.
ProgramRun RunProgram(const std::vector<std::string>& argv);

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_PROGRAM_RUN_H_
