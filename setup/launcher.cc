#include "setup/launcher.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

extern char** environ;

namespace parlavox {
namespace {

std::vector<char*> ArgumentVector(const std::string& program,
                                  const std::vector<std::string>& arguments) {
  std::vector<char*> argv = {const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  return argv;
}

}  // namespace

bool ProcessLauncher::Start(const std::string& program, const std::vector<std::string>& arguments) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  for (const int fd : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addopen(&actions, fd, "/dev/null", fd == 0 ? O_RDONLY : O_WRONLY, 0);
  }
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
  pid_t child = -1;
  const int error = posix_spawn(&child, program.c_str(), &actions, &attributes,
                                ArgumentVector(program, arguments).data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return error == 0;
}

void ProcessLauncher::Replace(const std::string& program,
                              const std::vector<std::string>& arguments) {
  execv(program.c_str(), ArgumentVector(program, arguments).data());
}

}  // namespace parlavox
