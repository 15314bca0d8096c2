#include "setup/launcher.h"

#include <unistd.h>

#include "util/programs.h"

namespace parlavox {

bool ProcessLauncher::Start(const std::string& program, const std::vector<std::string>& arguments) {
  std::vector<std::string> argv = {program};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  return StartProgram(argv);
}

void ProcessLauncher::Replace(const std::string& program,
                              const std::vector<std::string>& arguments) {
  std::vector<char*> argv = {const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  execv(program.c_str(), argv.data());
}

}  // namespace parlavox
