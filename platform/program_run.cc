#include "platform/program_run.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace parlavox {

ProgramRun RunProgram(const std::vector<std::string>& argv) {
  int pipe_fds[2];
  if (pipe(pipe_fds) != 0) return {};
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, pipe_fds[1], STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, pipe_fds[1], STDERR_FILENO);
  posix_spawn_file_actions_addclose(&actions, pipe_fds[0]);
  std::vector<char*> args;
  for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
  args.push_back(nullptr);
  pid_t pid = -1;
  const int spawned = posix_spawnp(&pid, args[0], &actions, nullptr, args.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(pipe_fds[1]);
  ProgramRun run;
  char buffer[4096];
  for (ssize_t got; (got = read(pipe_fds[0], buffer, sizeof buffer)) > 0;) {
    run.output.append(buffer, static_cast<size_t>(got));
  }
  close(pipe_fds[0]);
  if (spawned != 0) return {};
  int status = 0;
  if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) run.exit_code = WEXITSTATUS(status);
  while (!run.output.empty() && (run.output.back() == '\n' || run.output.back() == ' ')) {
    run.output.pop_back();
  }
  return run;
}

}  // namespace parlavox
