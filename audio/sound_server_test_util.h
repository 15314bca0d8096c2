#ifndef PARLAVOX_AUDIO_SOUND_SERVER_TEST_UTIL_H_
#define PARLAVOX_AUDIO_SOUND_SERVER_TEST_UTIL_H_

#include <signal.h>
#include <stdlib.h>

#include <chrono>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "util/child_process_test_util.h"
#include "util/eventually_test_util.h"
#include "util/scratch_folder_test_util.h"
#include "util/task_poster.h"

namespace parlavox {

// A sound server of the test's own: private runtime folder, no sound card, two null
// sinks ("speaker" and "mic", each with its ".monitor" source). It is PulseAudio, or
// with PARLAVOX_SOUND_SERVER=pipewire the PulseAudio server of PipeWire (with its
// session manager and a session bus of its own), as on Debian's desktops. Unless told
// otherwise, PULSE_SERVER points this process at it. Stop kills it the hard way;
// Start brings it back on the same socket; Hang stops it answering until Answer.
class PrivateSoundServer {
 public:
  explicit PrivateSoundServer(bool serve_this_process = true) {
    std::string pattern = (std::filesystem::temp_directory_path() / "pulse-XXXXXX").string();
    folder_ = mkdtemp(pattern.data());
    const char* kind = getenv("PARLAVOX_SOUND_SERVER");
    pipewire_ = kind != nullptr && std::string(kind) == "pipewire";
    socket_ = folder_ + (pipewire_ ? "/pulse/native" : "/native");
    if (serve_this_process) {
      setenv("PULSE_SERVER", address().c_str(), 1);
      setenv("PULSE_RUNTIME_PATH", folder_.c_str(), 1);
    }
    Start();
  }

  // What PULSE_SERVER names this server by.
  std::string address() const { return "unix:" + socket_; }
  bool is_pipewire() const { return pipewire_; }
  ~PrivateSoundServer() {
    Stop();
    std::filesystem::remove_all(folder_);
  }

  bool Start() {
    if (pipewire_) return StartPipeWire();
    const std::string protocol =
        "module-native-protocol-unix socket=" + socket_ + " auth-anonymous=1";
    daemon_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{
            "/usr/bin/pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1",
            "--use-pid-file=false", "--disable-shm=true", "-L", protocol, "-L",
            "module-null-sink " + NullSink("speaker", "Speaker") + " norewinds=1", "-L",
            "module-null-sink " + NullSink("mic", "Microphone") + " norewinds=1",
            "--log-target=file:/dev/null"},
        Environment(), "/dev/null", "/dev/null");
    return daemon_->running() && Eventually([&] { return Pactl("info >/dev/null 2>&1") == 0; });
  }

  void Stop() {
    while (!pipewire_parts_.empty()) pipewire_parts_.pop_back();  // the last started first
    daemon_.reset();
  }

  void Hang() { Server().Signal(SIGSTOP); }
  void Answer() { Server().Signal(SIGCONT); }

  // Runs pactl against this server with `arguments`; returns its exit status.
  int Pactl(const std::string& arguments) const {
    return Shell("PULSE_SERVER=" + address() + " pactl " + arguments);
  }

 private:
  // The process that serves PulseAudio's protocol.
  ChildProcess& Server() { return pipewire_ ? *pipewire_parts_.back() : *daemon_; }

  static std::string NullSink(const std::string& name, const std::string& description) {
    return "sink_name=" + name +
           " rate=11025 channels=1 sink_properties=device.description=" + description;
  }

  std::vector<std::string> Environment() const {
    std::vector<std::string> environment = {"HOME=" + folder_, "XDG_RUNTIME_DIR=" + folder_,
                                            "PATH=/usr/bin:/bin"};
    if (pipewire_) environment.push_back("DBUS_SESSION_BUS_ADDRESS=unix:path=" + folder_ + "/bus");
    return environment;
  }

  // PipeWire, its session manager (which links streams to devices) and its PulseAudio
  // server, each a process; the sinks are made through the PulseAudio interface.
  bool StartPipeWire() {
    // Each is started once the socket of the one before is there: the session manager
    // that finds no PipeWire to connect to ends at once, and no stream is ever linked.
    const std::string bus = folder_ + "/bus";
    const std::pair<std::vector<std::string>, std::string> parts[] = {
        {{"/usr/bin/dbus-daemon", "--session", "--nofork", "--address=unix:path=" + bus}, bus},
        {{"/usr/bin/pipewire"}, folder_ + "/pipewire-0"},
        {{"/usr/bin/wireplumber"}, ""},
        {{"/usr/bin/pipewire-pulse"}, ""}};
    for (const auto& part : parts) {
      const std::string& socket = part.second;
      if (!socket.empty()) std::filesystem::remove(socket);  // left by a server killed
      pipewire_parts_.push_back(
          std::make_unique<ChildProcess>(part.first, Environment(), "/dev/null", "/dev/null"));
      if (!socket.empty() && !Eventually([&] { return std::filesystem::exists(socket); })) {
        return false;
      }
    }
    if (!Eventually([&] { return Pactl("info >/dev/null 2>&1") == 0; })) return false;
    for (const auto& [name, description] :
         {std::pair{"speaker", "Speaker"}, {"mic", "Microphone"}}) {
      if (Pactl("load-module module-null-sink " + NullSink(name, description) + " >/dev/null") !=
          0) {
        return false;
      }
    }
    // Ready once the session manager, which takes a moment to load its scripts, links a
    // new stream: a short piece of silence is played to its end.
    return Eventually([&] {
      return Shell("head -c 2000 /dev/zero | PULSE_SERVER=" + address() +
                   " timeout 2 pacat --device=speaker --raw --rate=11025 --channels=1") == 0;
    });
  }

  std::string folder_;
  std::string socket_;
  bool pipewire_ = false;
  std::unique_ptr<ChildProcess> daemon_;
  std::vector<std::unique_ptr<ChildProcess>> pipewire_parts_;
};

// Records what a sink of the server plays (its monitor, through parec, at 11025 Hz
// mono) into `path` from now until Heard(). A recording that asks for a long latency
// leaves the sink's latency to the program that plays, as on a quiet desktop where
// that program is the only one playing.
class SinkRecording {
 public:
  SinkRecording(const PrivateSoundServer& server, const std::string& sink, const std::string& path,
                std::chrono::milliseconds latency = std::chrono::milliseconds(20))
      : path_(path),
        latency_(latency),
        parec_(
            {"/usr/bin/parec", "--device=" + sink + ".monitor", "--raw", "--format=s16le",
             "--rate=11025", "--channels=1", "--latency-msec=" + std::to_string(latency.count())},
            {"PULSE_SERVER=" + server.address(),
             "HOME=" + std::filesystem::path(path).parent_path().string()},
            path, path + ".log") {}

  // Ends the recording once what is still on its way has arrived.
  std::vector<int16_t> Heard() {
    std::this_thread::sleep_for(std::chrono::milliseconds(300) + 2 * latency_);
    parec_.Signal(SIGINT);
    parec_.WaitForExit(std::chrono::seconds(5));
    return RawSamples(path_);
  }

 private:
  std::string path_;
  std::chrono::milliseconds latency_;
  ChildProcess parec_;
};

// The owner's thread for tests: posted tasks wait in a queue until the test runs them.
class TestLoop : public TaskPoster {
 public:
  void Post(std::function<void()> task) override {
    std::lock_guard lock(mutex_);
    tasks_.push_back(std::move(task));
  }

  // Runs posted tasks until `done` holds or `limit` passes; returns `done`'s verdict.
  bool RunUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (!done()) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      std::function<void()> task;
      {
        std::lock_guard lock(mutex_);
        if (!tasks_.empty()) {
          task = std::move(tasks_.front());
          tasks_.pop_front();
        }
      }
      if (task) {
        task();
      } else {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
      }
    }
    return true;
  }

  void RunFor(std::chrono::milliseconds span) {
    RunUntil([] { return false; }, span);
  }

 private:
  std::mutex mutex_;
  std::deque<std::function<void()>> tasks_;
};

}  // namespace parlavox

#endif  // PARLAVOX_AUDIO_SOUND_SERVER_TEST_UTIL_H_
