#ifndef PARLAVOX_UI_VIRTUAL_DESKTOP_TEST_UTIL_H_
#define PARLAVOX_UI_VIRTUAL_DESKTOP_TEST_UTIL_H_

#include <fcntl.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "util/child_process_test_util.h"
#include "util/eventually_test_util.h"
#include "util/file_lock.h"

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
    // Like a desktop whose X server leaves Ctrl+Alt+F1...F12 to the programs instead of
    // switching consoles with them.
    Run("setxkbmap -option srvrkeys:none");
    window_manager_ = Start({"/usr/bin/openbox"});
    // The first key that xdotool presses switches the X server to its own keyboard, and
    // the window manager answers the new keyboard map by grabbing its keys anew; a key
    // pressed meanwhile (Alt+F4) is lost. So that switch happens here, before any test.
    Eventually([&] { return Run("xprop -root _NET_SUPPORTING_WM_CHECK | grep -q window") == 0; });
    Run("xdotool key shift");
    tray_ = Start({"/usr/bin/trayer", "--edge", "top", "--align", "right", "--widthtype", "pixel",
                   "--width", "80", "--heighttype", "pixel", "--height", "24", "--SetDockType",
                   "true", "--transparent", "false"});
    Eventually([&] { return !Output("xdotool search --class trayer").empty(); });
  }

  ~VirtualDesktop() {
    for (ChildProcess* process : {tray_.get(), window_manager_.get()}) {
      process->Signal(SIGTERM);
      process->WaitForExit(std::chrono::seconds(3));
    }
    if (server_) {
      server_->Signal(SIGTERM);  // the server removes its lock file
      server_->WaitForExit(std::chrono::seconds(5));
    }
    // The display is free again: its reservation goes, leaving nothing behind.
    if (!display_.empty()) std::filesystem::remove("/tmp/parlavox-display-" + display_.substr(1));
  }
  VirtualDesktop(const VirtualDesktop&) = delete;
  VirtualDesktop& operator=(const VirtualDesktop&) = delete;

  const std::string& display() const { return display_; }

  // The X server goes away under its programs, as where a remote desktop closes.
  void EndServer() {
    server_->Signal(SIGTERM);
    server_->WaitForExit(std::chrono::seconds(5));
  }

  // Runs a shell command on this desktop; returns its exit status.
  int Run(const std::string& command) const { return Shell("DISPLAY=" + display_ + " " + command); }

  // What a shell command on this desktop prints, without the last newline.
  std::string Output(const std::string& command) const {
    std::string text = ShellOutput("DISPLAY=" + display_ + " " + command);
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

  // How many windows of a program are on the screen; a menu that pops up is one more.
  int VisibleWindowCount(const std::string& program_class) const {
    std::istringstream ids(Output("xdotool search --onlyvisible --class " + program_class));
    int count = 0;
    for (std::string id; ids >> id;) ++count;
    return count;
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

 private:
  // Starts the X server on the first display number that neither another server nor
  // another test holds (tests running side by side reserve theirs with a lock file),
  // and waits until it answers.
  void StartServer() {
    for (int number = 90; number < 250; ++number) {
      reservation_ = std::make_unique<FileLock>("/tmp/parlavox-display-" + std::to_string(number),
                                                O_RDWR | O_CREAT, FileLock::Kind::kExclusive,
                                                FileLock::Wait::kNo);
      if (!reservation_->held() ||
          std::filesystem::exists("/tmp/.X11-unix/X" + std::to_string(number)) ||
          std::filesystem::exists("/tmp/.X" + std::to_string(number) + "-lock")) {
        continue;
      }
      display_ = ":" + std::to_string(number);
      // -noreset: the server would otherwise reset when the last client (the check
      // below) leaves, refusing the window manager that connects meanwhile.
      server_ = std::make_unique<ChildProcess>(
          std::vector<std::string>{"/usr/bin/Xvfb", display_, "-screen", "0", "1024x700x24",
                                   "-nolisten", "tcp", "-noreset"},
          std::vector<std::string>{"PATH=/usr/bin:/bin"}, "/dev/null", "/dev/null");
      // Answered by this server, not by one that took the display first.
      if (Eventually([&] {
            return server_->WaitForExit(std::chrono::milliseconds(0)) < 0 &&
                   Run("xdpyinfo >/dev/null 2>&1") == 0;
          })) {
        return;
      }
      server_.reset();
    }
    display_.clear();
  }

  std::unique_ptr<ChildProcess> Start(const std::vector<std::string>& argv) const {
    return std::make_unique<ChildProcess>(
        argv, std::vector<std::string>{"DISPLAY=" + display_, "HOME=/tmp", "PATH=/usr/bin:/bin"},
        "/dev/null", "/dev/null");
  }

  std::string display_;
  std::unique_ptr<FileLock> reservation_;
  std::unique_ptr<ChildProcess> server_;
  std::unique_ptr<ChildProcess> window_manager_;
  std::unique_ptr<ChildProcess> tray_;
};

}  // namespace parlavox

#endif  // PARLAVOX_UI_VIRTUAL_DESKTOP_TEST_UTIL_H_
