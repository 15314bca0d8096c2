#include "audio/sound_player.h"
#include "audio/wave_time.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>
#include <utility>

#include <gtest/gtest.h>

#include "audio/pulse_connection.h"
#include "audio/sound_devices.h"
#include "audio/sound_server_test_util.h"
#include "audio/wave_in.h"
#include "audio/wave_out.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

constexpr uint32_t kRate = 11025;

// Records a source of the private server (a sink's monitor) for as long as it lives.
class MonitorCapture {
 public:
  MonitorCapture(TestLoop& loop, const std::string& source) : buffers_(30), in_(loop) {
    EXPECT_TRUE(in_.Open(source, kRate, 1, 441, 0,
                         {[this](RecordBuffer* buffer) {
                            samples.insert(samples.end(), buffer->samples.begin(),
                                           buffer->samples.end());
                            in_.AddBuffer(buffer);
                          },
                          {}}));
    for (RecordBuffer& buffer : buffers_) {
      buffer.samples.assign(441, 0);
      in_.AddBuffer(&buffer);
    }
    in_.Start();
  }

  std::vector<int16_t> samples;

 private:
  std::vector<RecordBuffer> buffers_;  // first, so that they outlive the device filling them
  WaveIn in_;
};

// Remembers what the player said.
struct RecordingListener : LSoundPlayerListener {
  void OnPlayStarted(uint32_t) override { ++started; }
  void OnPlayStopped(uint32_t) override { ++stopped; }
  void OnPlayPosition(int32_t time, uint32_t) override { positions.push_back(time); }
  void OnPlayLevels(const ChannelLevels& l, uint32_t) override { levels.push_back(l.levels[0]); }
  int started = 0, stopped = 0;
  std::vector<int32_t> positions;
  std::vector<int8_t> levels;
};

class SoundPlayerTest : public testing::Test {
 protected:
  SoundPlayerTest() {
    player_.SetListener(&listener_, 0);
    player_.set_metering(true);
    player_.set_device({0, "speaker"});
  }

  // A 1 kHz sine of `seconds` at half of 16-bit full scale.
  std::string ToneFile(double seconds) {
    const std::string path = folder_ / "tone.wav";
    auto writer = CreateWaveFileWriter(path, kRate, 1, 16, 0);
    std::vector<int32_t> tone(static_cast<size_t>(seconds * kRate));
    for (size_t i = 0; i < tone.size(); ++i) {
      tone[i] =
          static_cast<int32_t>(std::lround(16384 * 16 * std::sin(2 * M_PI * 1000 * i / kRate)));
    }
    writer->Write(tone.data(), static_cast<int64_t>(tone.size()));
    return path;
  }

  bool PlayedToTheEnd(std::chrono::milliseconds limit) {
    const int before = listener_.stopped;
    return loop_.RunUntil([&] { return listener_.stopped > before; }, limit);
  }

  PrivateSoundServer server_;
  ScratchFolder folder_;
  TestLoop loop_;
  RecordingListener listener_;
  LSoundPlayer player_{loop_};
};

// The first and the last loud sample after `from`; -1 for both when none is loud.
std::pair<int64_t, int64_t> LoudStretch(const std::vector<int16_t>& samples, size_t from = 0) {
  int64_t first = -1, last = -1;
  for (size_t i = from; i < samples.size(); ++i) {
    if (std::abs(samples[i]) <= 2000) continue;
    if (first < 0) first = static_cast<int64_t>(i);
    last = static_cast<int64_t>(i);
  }
  return {first, last};
}

TEST_F(SoundPlayerTest, PlaysAToneAfterTheLeadInThenReportsTheStop) {
  MonitorCapture monitor(loop_, "speaker.monitor");
  loop_.RunFor(300ms);

  // Once from the start, once from 0.15 s early as the inbox plays messages: the
  // second tone must come 1653 frames later after its Play than the first did.
  int64_t delay[2];
  size_t play_at = 0;
  for (int run = 0; run < 2; ++run) {
    auto reader = OpenWaveFileReader(ToneFile(1.0));
    ASSERT_NE(reader, nullptr);
    if (run == 1) reader->Seek(-1653);
    play_at = monitor.samples.size();
    listener_.positions.clear();
    ASSERT_TRUE(player_.Play(reader));
    ASSERT_TRUE(PlayedToTheEnd(5s));
    loop_.RunFor(400ms);
    delay[run] = LoudStretch(monitor.samples, play_at).first - static_cast<int64_t>(play_at);
    ASSERT_GE(delay[run], 0);
    if (run == 1) {
      EXPECT_EQ(listener_.positions.front(), -1499);
    }
    EXPECT_EQ(listener_.positions.back(), 10000);
  }
  // Timed by the monitor's samples, which arrive late and unevenly on a busy machine
  // (the sanitizers): 100 ms either way still tells the silence from none.
  EXPECT_NEAR(delay[1] - delay[0], 1653, 1102) << delay[0] << " " << delay[1];

  // The second tone: 1 kHz, at the level it was written, for one second.
  const auto [onset, end] = LoudStretch(monitor.samples, play_at);
  ASSERT_GE(onset, 0);
  int64_t crossings = 0;
  double energy = 0;
  for (int64_t i = onset + 1; i <= end; ++i) {
    const int16_t a = monitor.samples[static_cast<size_t>(i - 1)],
                  b = monitor.samples[static_cast<size_t>(i)];
    if ((a < 0) != (b < 0)) ++crossings;
    energy += double(b) * b;
  }
  const double seconds = double(end - onset) / kRate;
  EXPECT_NEAR(seconds, 1.0, 0.01);
  EXPECT_NEAR(crossings / seconds / 2, 1000, 10);
  EXPECT_NEAR(std::sqrt(energy / double(end - onset)), 16384 / std::sqrt(2.0), 600);
  ASSERT_FALSE(listener_.levels.empty());
  EXPECT_EQ(*std::max_element(listener_.levels.begin(), listener_.levels.end()), 6);
}

// Another process writes a message in real time, 40 ms at a time, while it plays,
// started with the player's lead-in as the inbox starts messages: every sample comes
// out once, in order and without a break, and playback ends once the writer has
// stopped.
TEST_F(SoundPlayerTest, PlaysAFileWhileAnotherProcessWritesIt) {
  constexpr int kBlock = 441, kBlocks = 100;  // 4 s
  const std::string path = folder_ / "live.wav";
  auto sample_at = [](int64_t i) { return int16_t(1000 + (i * 7919) % 20000); };  // never 0
  MonitorCapture monitor(loop_, "speaker.monitor");
  loop_.RunFor(300ms);
  const pid_t writer_pid = fork();
  ASSERT_GE(writer_pid, 0);
  if (writer_pid == 0) {
    auto writer = CreateWaveFileWriter(path, kRate, 1, 16, 0);
    std::vector<int32_t> block(kBlock);
    auto next = std::chrono::steady_clock::now();
    for (int b = 0; b < kBlocks; ++b) {
      for (int i = 0; i < kBlock; ++i) block[size_t(i)] = sample_at(int64_t(b) * kBlock + i) * 16;
      writer->Write(block.data(), kBlock);
      next += 40ms;
      std::this_thread::sleep_until(next);
    }
    writer.reset();
    _exit(0);
  }
  std::shared_ptr<WaveFileReader> reader;
  while (!reader) {
    std::this_thread::sleep_for(5ms);
    reader = OpenWaveFileReader(path);
  }
  reader->Seek(TimeToFrames(player_.LeadIn(), kRate));
  ASSERT_TRUE(player_.Play(reader));
  ASSERT_TRUE(PlayedToTheEnd(15s));
  waitpid(writer_pid, nullptr, 0);
  loop_.RunFor(300ms);

  if (server_.is_pipewire()) {  // which resamples it: judged by the length heard
    const auto [onset, end] = LoudStretch(monitor.samples);
    EXPECT_NEAR(double(end - onset) / kRate, double(kBlock * kBlocks) / kRate, 0.02);
    return;
  }
  const auto first = std::find_if(monitor.samples.begin(), monitor.samples.end(),
                                  [](int16_t s) { return s != 0; });
  ASSERT_GE(monitor.samples.end() - first, kBlock * kBlocks);
  for (int64_t i = 0; i < kBlock * kBlocks; ++i) ASSERT_EQ(first[i], sample_at(i)) << i;
}

// The desktop's sound server restarts in the middle of a message: what had not been
// heard when it went is played once it is back, and only that. On PulseAudio the
// message's device (a headset, say) comes back a moment after the server, so that the
// first tries to open it fail; PipeWire's server would play on the default meanwhile.
TEST_F(SoundPlayerTest, AMessageGoesOnAfterTheSoundServerRestarts) {
  const bool device_late = !server_.is_pipewire();
  const std::string device = device_late ? "headset" : "speaker";
  const auto add_headset = [&] {
    return server_.Pactl(
        "load-module module-null-sink sink_name=headset rate=11025 channels=1 norewinds=1 "
        ">/dev/null");
  };
  if (device_late) {
    ASSERT_EQ(add_headset(), 0);
  }
  player_.set_device({3, device});
  std::optional<MonitorCapture> monitor(std::in_place, loop_, device + ".monitor");
  loop_.RunFor(300ms);
  ASSERT_TRUE(player_.Play(OpenWaveFileReader(ToneFile(3.0))));
  loop_.RunFor(500ms);
  server_.Stop();
  loop_.RunFor(1000ms);
  EXPECT_TRUE(player_.is_open());  // waiting for the server, the rest not thrown away
  const auto [first_onset, first_end] = LoudStretch(monitor->samples);
  ASSERT_GE(first_onset, 0);
  ASSERT_TRUE(server_.Start());
  if (device_late) {
    loop_.RunFor(500ms);
    ASSERT_EQ(add_headset(), 0);
  }
  monitor.emplace(loop_, device + ".monitor");
  ASSERT_TRUE(PlayedToTheEnd(8s));
  loop_.RunFor(300ms);
  const auto [second_onset, second_end] = LoudStretch(monitor->samples);
  const double before = double(first_end - first_onset) / kRate,
               after = double(second_end - second_onset) / kRate;
  // Nothing heard twice, nothing left out; the monitor, new with the device, may miss
  // the first moments after it came back (as much as 0.2 s on PipeWire).
  EXPECT_LT(before + after, 3.15) << before << " s before, " << after << " s after";
  EXPECT_GT(before + after, 2.6) << before << " s before, " << after << " s after";
  ASSERT_TRUE(player_.Play(OpenWaveFileReader(ToneFile(0.5))));
  EXPECT_TRUE(PlayedToTheEnd(5s));
}

// The server's going drops the stream's connection at once; the stream waits, failed,
// until its owner closes it, also when the owner takes its time.
TEST_F(SoundPlayerTest, AStreamWhoseServerWentWaitsFailedUntilItIsClosed) {
  ManualResetEvent done;
  WaveOut out;
  ASSERT_TRUE(out.Open("speaker", 11025, 1, 0, &done));
  server_.Stop();
  EXPECT_TRUE(Eventually([&] { return out.failed(); }));
  std::this_thread::sleep_for(100ms);  // several looks at its timing meanwhile
  out.Close();
}

// A server that stops answering (stopped, or stuck on a device) holds a message up for
// a few seconds, not libpulse's half a minute for each of the requests that a start
// makes; once it answers again, the next message plays.
TEST_F(SoundPlayerTest, AHungSoundServerIsGivenUpOnSoonAndUsedAgainOnceItAnswers) {
  server_.Hang();
  const auto began = std::chrono::steady_clock::now();
  EXPECT_FALSE(player_.Play(OpenWaveFileReader(ToneFile(0.5))));
  EXPECT_LT(std::chrono::steady_clock::now() - began, PulseConnection::kAnswerTime + 5s);
  server_.Answer();
  const std::string tone = ToneFile(0.5);
  ASSERT_TRUE(Eventually([&] { return player_.Play(OpenWaveFileReader(tone)); },
                         PulseConnection::kAnswerTime + 5s));  // tried again after a while
  EXPECT_TRUE(PlayedToTheEnd(5s));
}

TEST_F(SoundPlayerTest, RefusesWhatItCannotPlayAndStopsTheOldStreamFirst) {
  EXPECT_FALSE(player_.Play(nullptr));
  // A device gone since it was listed: refused, not played into nothing (PipeWire's
  // server plays it on the default device instead).
  WaveOut unplugged;
  EXPECT_EQ(unplugged.Open("unplugged", kRate, 1, 0, nullptr), server_.is_pipewire());
  player_.set_device({99, ""});  // past the list: the default device
  ASSERT_TRUE(player_.Play(OpenWaveFileReader(ToneFile(5.0))));
  ASSERT_TRUE(player_.Play(OpenWaveFileReader(ToneFile(0.2))));
  EXPECT_EQ(listener_.stopped, 1);  // the first stream was told it stopped
  EXPECT_TRUE(PlayedToTheEnd(5s));
}

TEST(ResolveDeviceTest, ANamedDeviceIsFoundByNameOrElseTheDefaultIsUsed) {
  const std::vector<SoundDevice> devices = {
      {"", "System default"}, {"usb-headset", "Headset"}, {"speaker", "Speaker"}};
  EXPECT_EQ(ResolveDevice({2, "speaker"}, devices), "speaker");
  EXPECT_EQ(ResolveDevice({1, "speaker"}, devices), "speaker");  // moved: found by name
  EXPECT_EQ(ResolveDevice({1, "unplugged"}, devices), "");       // never another device
  EXPECT_EQ(ResolveDevice({1, ""}, devices), "usb-headset");     // kept by place only
  EXPECT_EQ(ResolveDevice({7, ""}, devices), "");                // past the list
  EXPECT_EQ(ResolveDevice({0, ""}, devices), "");                // the default: followed
  EXPECT_EQ(ResolveDevice({-1, ""}, devices), "");
}

TEST(ChannelLevelsTest, LevelsFollowTheirFormulas) {
  std::vector<int32_t> silence(1102, 0), square(1102);
  for (size_t i = 0; i < square.size(); ++i) square[i] = (i / 10) % 2 ? kFullScale : -kFullScale;
  EXPECT_EQ(MeanSquareLevel(silence.data(), 1102, 1, 0), -127);
  EXPECT_EQ(MeanSquareLevel(square.data(), 1102, 1, 0), 15);
  EXPECT_EQ(MeanSquareLevel(square.data(), 551, 2, 1), 15);
  EXPECT_EQ(PeakLevel(silence.data(), 441, 1, 0), -127);
  EXPECT_EQ(PeakLevel(square.data(), 441, 1, 0), 12);
  const int32_t quarter[] = {131072};
  EXPECT_EQ(PeakLevel(quarter, 1, 1, 0), 0);
  EXPECT_EQ(FramesToTime(-1653, 11025), -1499);
  EXPECT_EQ(FramesToTime(11025, 11025), 10000);
  EXPECT_EQ(FramesToTime(5, 0), 0);
}

}  // namespace
}  // namespace parlavox
