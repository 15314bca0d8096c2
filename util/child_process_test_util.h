#ifndef PARLAVOX_UTIL_CHILD_PROCESS_TEST_UTIL_H_
#define PARLAVOX_UTIL_CHILD_PROCESS_TEST_UTIL_H_

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include "util/eventually_test_util.h"

namespace parlavox {

// The sanitizers' settings of the test, as "NAME=value" entries, so that a program it
// starts reports as the test itself would.
inline std::vector<std::string> SanitizerEnvironment() {
  std::vector<std::string> environment;
  for (const char* keep : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS"}) {
    if (const char* value = getenv(keep)) environment.push_back(std::string(keep) + "=" + value);
  }
  return environment;
}

// Runs a shell command; returns its exit status.
inline int Shell(const std::string& command) { return WEXITSTATUS(std::system(command.c_str())); }

// What a shell command prints on its standard output.
inline std::string ShellOutput(const std::string& command) {
  std::string text;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char chunk[512];
    while (fgets(chunk, sizeof chunk, pipe) != nullptr) text += chunk;
    pclose(pipe);
  }
  return text;
}

// A program started with its own environment, standard output and standard error
// sent to files, in `working_folder` when one is given.
class ChildProcess {
 public:
  ChildProcess(const std::vector<std::string>& argv, const std::vector<std::string>& environment,
               const std::string& output_file, const std::string& error_file,
               const std::string& working_folder = "") {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (!working_folder.empty()) {
      posix_spawn_file_actions_addchdir_np(&actions, working_folder.c_str());
    }
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, output_file.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, error_file.c_str(),
                                     O_WRONLY | O_CREAT | O_APPEND, 0644);
    std::vector<char*> args, env;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    for (const std::string& e : environment) env.push_back(const_cast<char*>(e.c_str()));
    args.push_back(nullptr);
    env.push_back(nullptr);
    if (posix_spawn(&pid_, args[0], &actions, nullptr, args.data(), env.data()) != 0) pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
  }
  ~ChildProcess() {
    if (running()) {
      kill(pid_, SIGKILL);
      waitpid(pid_, nullptr, 0);
    }
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  bool running() const { return pid_ > 0 && !status_; }
  pid_t pid() const { return pid_; }
  void Signal(int signal_number) const {
    if (running()) kill(pid_, signal_number);
  }

  // The exit code (or 128 + signal) once the program ended within `limit`; -1 if not.
  int WaitForExit(std::chrono::milliseconds limit) {
    const bool ended = Eventually(
        [&] {
          int raw = 0;
          if (running() && waitpid(pid_, &raw, WNOHANG) == pid_) {
            status_ = WIFEXITED(raw) ? WEXITSTATUS(raw) : 128 + WTERMSIG(raw);
          }
          return !running();
        },
        limit, std::chrono::milliseconds(10));
    return ended && pid_ > 0 ? *status_ : -1;
  }

 private:
  pid_t pid_ = -1;
  std::optional<int> status_;
};

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_CHILD_PROCESS_TEST_UTIL_H_
