#ifndef PARLAVOX_UI_VIRTUAL_DESKTOP_TEST_UTIL_H_
#define PARLAVOX_UI_VIRTUAL_DESKTOP_TEST_UTIL_H_

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "app/child_process_test_util.h"

namespace parlavox {

// A desktop of the test's own: an X server without a screen (Xvfb), a window manager
// (openbox) and a tray along the top right (trayer, 80 by 24 pixels), driven through
// xdotool as a person would drive it, with real key presses and mouse clicks.
class VirtualDesktop {
 public:
  struct Box {
    int x = 0, y = 0, width = 0, height = 0;
  };

  VirtualDesktop() {
    StartServer();
    window_manager_ = Start({"/usr/bin/openbox"});
    tray_ = Start({"/usr/bin/trayer", "--edge", "top", "--align", "right", "--widthtype", "pixel",
                   "--width", "80", "--heighttype", "pixel", "--height", "24", "--SetDockType",
                   "true", "--transparent", "false"});
    WaitUntil([&] { return !Output("xdotool search --class trayer").empty(); });
  }

  ~VirtualDesktop() {
    for (ChildProcess* process : {tray_.get(), window_manager_.get()}) {
      process->Signal(SIGTERM);
      process->WaitForExit(std::chrono::seconds(3));
    }
    if (server_pid_ > 0) {
      kill(server_pid_, SIGTERM);  // the server removes its lock file
      waitpid(server_pid_, nullptr, 0);
    }
  }
  VirtualDesktop(const VirtualDesktop&) = delete;
  VirtualDesktop& operator=(const VirtualDesktop&) = delete;

  const std::string& display() const { return display_; }

  // Runs a shell command on this desktop; returns its exit status.
  int Run(const std::string& command) const {
    return WEXITSTATUS(std::system(("DISPLAY=" + display_ + " " + command).c_str()));
  }

  // What a shell command on this desktop prints, without the last newline.
  std::string Output(const std::string& command) const {
    std::string text;
    if (FILE* pipe = popen(("DISPLAY=" + display_ + " " + command).c_str(), "r")) {
      char chunk[512];
      while (fgets(chunk, sizeof chunk, pipe) != nullptr) text += chunk;
      pclose(pipe);
    }
    while (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
  }

  // The shown top-level window called exactly `name`; nullopt when there is none.
  std::optional<std::string> VisibleWindow(const std::string& name) const {
    std::istringstream ids(Output("xdotool search --onlyvisible --name '^" + name + "$'"));
    std::string id;
    while (ids >> id) {
      if (Geometry(id).width > 1) return id;
    }
    return std::nullopt;
  }

  // Where a window is on the screen (its contents, without the frame).
  Box Geometry(const std::string& window) const {
    Box box;
    std::istringstream info(Output("xwininfo -id " + window));
    std::string line;
    while (std::getline(info, line)) {
      auto value = [&](const char* label, int* into) {
        const size_t at = line.find(label);
        if (at != std::string::npos) *into = std::stoi(line.substr(at + std::string(label).size()));
      };
      value("Absolute upper-left X:", &box.x);
      value("Absolute upper-left Y:", &box.y);
      value("Width:", &box.width);
      value("Height:", &box.height);
    }
    return box;
  }

  // The program's icon in the tray: its window, at most 64 pixels square, in the top
  // row of the screen.
  std::optional<std::string> TrayIconWindow(const std::string& program_class) const {
    std::istringstream ids(Output("xdotool search --class " + program_class));
    std::string id;
    while (ids >> id) {
      const Box box = Geometry(id);
      if (box.width > 1 && box.width <= 64 && box.height <= 64 && box.y < 30) return id;
    }
    return std::nullopt;
  }

  // The colour at a point of the screen, as "#RRGGBB".
  std::string ColourAt(int x, int y) const {
    const std::string text = Output("import -window root -crop 1x1+" + std::to_string(x) + "+" +
                                    std::to_string(y) + " txt:- | tail -1");
    const size_t hash = text.find('#');
    if (hash == std::string::npos) return "";
    const std::string hex = text.substr(hash + 1);
    if (hex.size() >= 12 && hex.find(' ') >= 12) {  // 16 bits a channel
      return "#" + hex.substr(0, 2) + hex.substr(4, 2) + hex.substr(8, 2);
    }
    return "#" + hex.substr(0, 6);
  }

  void Screenshot(const std::string& path) const { Run("import -window root '" + path + "'"); }

  // Waits up to `limit` for `done`.
  template <typename Done>
  static bool WaitUntil(Done done,
                        std::chrono::milliseconds limit = std::chrono::milliseconds(10000)) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < deadline) {
      if (done()) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return static_cast<bool>(done());
  }

 private:
  // Starts the X server on a display it picks itself (so that tests running side by
  // side never share one) and learns which, once it is ready, through a pipe.
  void StartServer() {
    int pipe_ends[2];
    if (pipe(pipe_ends) != 0) return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, pipe_ends[1], 3);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const char* argv[] = {"/usr/bin/Xvfb", "-displayfd", "3",   "-screen", "0",
                          "1024x700x24",   "-nolisten",  "tcp", nullptr};
    const char* env[] = {"PATH=/usr/bin:/bin", nullptr};
    posix_spawn(&server_pid_, argv[0], &actions, nullptr, const_cast<char**>(argv),
                const_cast<char**>(env));
    posix_spawn_file_actions_destroy(&actions);
    close(pipe_ends[1]);
    char number[16] = {};
    const ssize_t got = read(pipe_ends[0], number, sizeof number - 1);
    close(pipe_ends[0]);
    if (got > 0) display_ = ":" + std::string(number, strcspn(number, "\n"));
  }

  std::unique_ptr<ChildProcess> Start(const std::vector<std::string>& argv) const {
    return std::make_unique<ChildProcess>(
        argv, std::vector<std::string>{"DISPLAY=" + display_, "HOME=/tmp", "PATH=/usr/bin:/bin"},
        "/dev/null", "/dev/null");
  }

  std::string display_;
  pid_t server_pid_ = -1;
  std::unique_ptr<ChildProcess> window_manager_;
  std::unique_ptr<ChildProcess> tray_;
};

}  // namespace parlavox

#endif  // PARLAVOX_UI_VIRTUAL_DESKTOP_TEST_UTIL_H_
