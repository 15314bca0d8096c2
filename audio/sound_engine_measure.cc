// Measures the sound engine on a private sound server: how long after a buffer is
// handed to the output device a recorder on the device's monitor receives it (so
// the figure includes up to one 40 ms capture buffer), and how much CPU the player's
// feeding thread takes per minute of playback.
//
//   parlavox_sound_engine_measure [calls]

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>

#include "audio/sound_devices.h"
#include "audio/sound_player.h"
#include "audio/sound_server_test_util.h"
#include "audio/wave_in.h"
#include "audio/wave_out.h"

namespace parlavox {
namespace {

using Clock = std::chrono::steady_clock;
constexpr uint32_t kRate = 11025;
constexpr int kBuffer = 441;

// Writes one loud 100 ms block now and then, and sees when each arrives on the monitor.
std::vector<double> DeviceToMonitorDelays(int rounds) {
  TestLoop loop;
  std::vector<RecordBuffer> buffers(30);  // first, so that they outlive the device filling them
  WaveIn monitor(loop);
  Clock::time_point written_at;
  bool waiting = false;
  std::vector<double> delays;
  monitor.Open("speaker.monitor", kRate, 1, kBuffer, 0,
               {[&](RecordBuffer* b) {
                  const bool loud = std::any_of(b->samples.begin(), b->samples.end(),
                                                [](int16_t s) { return std::abs(s) > 1000; });
                  if (waiting && loud) {
                    const auto delay = Clock::now() - written_at;
                    delays.push_back(std::chrono::duration<double, std::milli>(delay).count());
                    waiting = false;
                  }
                  monitor.AddBuffer(b);
                },
                {}});
  for (RecordBuffer& b : buffers) {
    b.samples.assign(kBuffer, 0);
    monitor.AddBuffer(&b);
  }
  monitor.Start();

  ManualResetEvent done;
  WaveOut out;
  out.Open("speaker", kRate, 1, 0, &done);
  PlayBuffer block;
  block.samples.assign(1102, 16000);
  block.bytes = 1102 * 2;
  loop.RunFor(std::chrono::milliseconds(500));
  for (int r = 0; r < rounds; ++r) {
    waiting = true;
    written_at = Clock::now();
    out.Write(&block);
    loop.RunUntil([&] { return !waiting; }, std::chrono::seconds(3));
    loop.RunFor(std::chrono::milliseconds(1500));  // until the whole block has gone by
  }
  return delays;
}

// CPU seconds so far of this process's thread named `name`.
double ThreadCpuSeconds(const std::string& name) {
  DIR* tasks = opendir("/proc/self/task");
  double seconds = 0;
  while (dirent* entry = readdir(tasks)) {
    const std::string task = std::string("/proc/self/task/") + entry->d_name;
    std::string comm;
    std::getline(std::ifstream(task + "/comm"), comm);
    if (comm != name) continue;
    double on_cpu_ns = 0;
    std::ifstream(task + "/schedstat") >> on_cpu_ns;
    seconds += on_cpu_ns / 1e9;
  }
  closedir(tasks);
  return seconds;
}

double FeederCpuPerMinute(double seconds) {
  const std::string path = "/tmp/parlavox-measure-" + std::to_string(getpid()) + ".wav";
  {
    std::vector<int32_t> tone(kRate);
    for (size_t i = 0; i < tone.size(); ++i) tone[i] = int32_t((i * 37) % 4000) * 16;
    auto writer = CreateWaveFileWriter(path, kRate, 1, 16, 0);
    for (int s = 0; s < int(seconds); ++s) writer->Write(tone.data(), kRate);
  }
  TestLoop loop;
  LSoundPlayer player(loop);
  player.set_device({0, "speaker"});
  player.set_metering(true);
  player.Play(OpenWaveFileReader(path));
  double cpu = 0;
  loop.RunUntil(
      [&] {
        cpu = std::max(cpu, ThreadCpuSeconds("parlavox-feed"));
        return !player.is_open();
      },
      std::chrono::seconds(int(seconds) + 10));
  unlink(path.c_str());
  return cpu * 60 / seconds;
}

}  // namespace
}  // namespace parlavox

int main(int argc, char** argv) {
  using namespace parlavox;
  const int rounds = argc > 1 ? std::atoi(argv[1]) : 20;
  PrivateSoundServer server;
  std::vector<double> delays = DeviceToMonitorDelays(rounds);
  std::sort(delays.begin(), delays.end());
  if (delays.empty()) {
    std::printf("no delay measured\n");
    return 1;
  }
  std::printf(
      "device to monitor recorder: %zu blocks, median %.1f ms, worst %.1f ms, best %.1f ms\n",
      delays.size(), delays[delays.size() / 2], delays.back(), delays.front());
  std::printf("feeding thread: %.3f s of CPU per minute of playback\n", FeederCpuPerMinute(20));
  return 0;
}
