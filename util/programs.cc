#include "util/programs.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

namespace parlavox {
namespace {

// Spawns `argv` with standard input from /dev/null, standard output and error to
// `output` (/dev/null where it is -1) and no other descriptor; -1 when that failed.
pid_t Spawn(const std::vector<std::string>& argv, int output, bool own_session) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  if (output >= 0) {
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDERR_FILENO);
  } else {
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
  }
  posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  if (own_session) posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
  std::vector<char*> args;
  for (const std::string& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
  args.push_back(nullptr);
  pid_t pid = -1;
  const int spawned = posix_spawnp(&pid, args[0], &actions, &attributes, args.data(), environ);
  posix_spawnattr_destroy(&attributes);
  posix_spawn_file_actions_destroy(&actions);
  return spawned == 0 ? pid : -1;
}

}  // namespace

ProgramRun RunProgram(const std::vector<std::string>& argv) {
  int pipe_fds[2];
  if (pipe2(pipe_fds, O_CLOEXEC) != 0) return {};
  const pid_t pid = Spawn(argv, pipe_fds[1], /*own_session=*/false);
  close(pipe_fds[1]);
  ProgramRun run;
  char buffer[4096];
  for (ssize_t got; (got = read(pipe_fds[0], buffer, sizeof buffer)) > 0;) {
    run.output.append(buffer, static_cast<size_t>(got));
  }
  close(pipe_fds[0]);
  if (pid < 0) return {};
  int status = 0;
  if (waitpid(pid, &status, 0) == pid && WIFEXITED(status)) run.exit_code = WEXITSTATUS(status);
  while (!run.output.empty() && (run.output.back() == '\n' || run.output.back() == ' ')) {
    run.output.pop_back();
  }
  return run;
}

bool StartProgram(const std::vector<std::string>& argv) { return WatchedProgram(argv).started(); }

WatchedProgram::WatchedProgram(const std::vector<std::string>& argv)
    : pid_(Spawn(argv, -1, /*own_session=*/true)) {
  // Debian 12's <sys/pidfd.h> declares pidfd_open without C linkage.
  if (pid_ > 0) end_descriptor_ = static_cast<int>(syscall(SYS_pidfd_open, pid_, 0));
}

WatchedProgram::~WatchedProgram() {
  if (end_descriptor_ >= 0) close(end_descriptor_);
  if (pid_ > 0) std::thread([pid = pid_] { waitpid(pid, nullptr, 0); }).detach();
}

int WatchedProgram::Wait() {
  int status = 0;
  const bool ended = pid_ > 0 && waitpid(pid_, &status, 0) == pid_;
  pid_ = -1;
  return ended && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace parlavox
