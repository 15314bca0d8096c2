#include "audio/sound_recorder.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

#include <gtest/gtest.h>

#include "audio/sound_devices.h"
#include "audio/sound_player.h"
#include "audio/sound_server_test_util.h"
#include "audio/wave_time.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

constexpr uint32_t kRate = 11025;

struct Events : LSoundRecorderListener, LSoundPlayerListener {
  void OnRecordStarted(uint32_t) override { started_at.push_back(writer->length()); }
  void OnRecordWaiting(uint32_t) override { waiting_at.push_back(writer->length()); }
  void OnRecordStopped(uint32_t) override { ++recorder_stopped; }
  void OnRecordLost(uint32_t) override { ++recorder_lost; }
  void OnRecordPosition(int32_t time, uint32_t) override { last_time = time; }
  void OnRecordLevels(const ChannelLevels& l, uint32_t) override { levels.push_back(l); }
  void OnPlayStopped(uint32_t) override { ++player_stopped; }
  std::shared_ptr<WaveFileWriter> writer;
  std::vector<int64_t> started_at, waiting_at;
  std::vector<ChannelLevels> levels;
  int32_t last_time = -1;
  int recorder_stopped = 0, recorder_lost = 0, player_stopped = 0;
};

class SoundRecorderTest : public testing::Test {
 protected:
  SoundRecorderTest() {
    player_.set_device({0, "speaker"});
    player_.SetListener(&events_, 0);
    recorder_.set_device({0, "speaker.monitor"});
    recorder_.SetListener(&events_, 0);
  }

  // Plays stretches of silence (amplitude 0) and 1 kHz sine, one after another.
  void PlaySignal(const std::vector<std::pair<double, double>>& stretches) {
    const std::string path = folder_ / "signal.wav";
    {
      auto writer = CreateWaveFileWriter(path, kRate, 1, 16, 0);
      for (const auto& [seconds, amplitude] : stretches) {
        std::vector<int32_t> samples(static_cast<size_t>(seconds * kRate));
        for (size_t i = 0; i < samples.size(); ++i) {
          samples[i] = static_cast<int32_t>(amplitude * 16 * std::sin(2 * M_PI * 1000 * i / kRate));
        }
        writer->Write(samples.data(), static_cast<int64_t>(samples.size()));
      }
    }
    ASSERT_TRUE(player_.Play(OpenWaveFileReader(path)));
  }

  std::shared_ptr<WaveFileWriter> NewWriter() {
    events_.writer = CreateWaveFileWriter(folder_ / "call.wav", kRate, 1, 16, 0);
    return events_.writer;
  }

  std::vector<int32_t> Recorded() {
    auto reader = OpenWaveFileReader(folder_ / "call.wav");
    std::vector<int32_t> samples(static_cast<size_t>(reader->GetLength()));
    reader->Read(samples.data(), reader->GetLength());
    return samples;
  }

  PrivateSoundServer server_;
  ScratchFolder folder_;
  TestLoop loop_;
  Events events_;
  LSoundPlayer player_{loop_};
  LSoundRecorder recorder_{loop_};
};

// A call: every buffer is written, the meter and the call's time follow it, and at the
// stop the recorder lets go of the message file.
TEST_F(SoundRecorderTest, RecordsEveryBufferWhenStartedAsACall) {
  EXPECT_FALSE(
      recorder_.StartRecording(nullptr, 0, -127, 216000000, LSoundRecorder::kStartWriting));
  ASSERT_TRUE(
      recorder_.StartRecording(NewWriter(), 0, -127, 216000000, LSoundRecorder::kStartWriting));
  loop_.RunFor(200ms);
  PlaySignal({{1.0, 16384}});
  ASSERT_TRUE(loop_.RunUntil([&] { return events_.player_stopped == 1; }, 5s));
  loop_.RunFor(200ms);
  const int64_t written = events_.writer->length();
  EXPECT_EQ(events_.last_time, FramesToTime(written, kRate));
  ASSERT_FALSE(events_.levels.empty());
  EXPECT_EQ(events_.levels.back().count, 1);
  EXPECT_EQ(std::max_element(events_.levels.begin(), events_.levels.end(),
                             [](const auto& a, const auto& b) { return a.levels[0] < b.levels[0]; })
                ->levels[0],
            6);  // the tone's peak: half of full scale
  const std::weak_ptr<WaveFileWriter> message = events_.writer;
  events_.writer.reset();
  recorder_.StopRecording();
  EXPECT_EQ(events_.recorder_stopped, 1);
  EXPECT_TRUE(message.expired());  // closed: not held open till the next call

  const std::vector<int32_t> samples = Recorded();
  EXPECT_EQ(static_cast<int64_t>(samples.size()), written);  // nothing cut at the stop
  int64_t onset = -1, end = 0, crossings = 0;
  for (size_t i = 0; i < samples.size(); ++i) {
    if (std::abs(samples[i]) > 2000 * 16) {
      if (onset < 0) onset = static_cast<int64_t>(i);
      end = static_cast<int64_t>(i);
    }
  }
  ASSERT_GE(onset, 0);
  for (int64_t i = onset + 1; i <= end; ++i) {
    if ((samples[size_t(i - 1)] < 0) != (samples[size_t(i)] < 0)) ++crossings;
  }
  EXPECT_NEAR(double(end - onset) / kRate, 1.0, 0.01);
  EXPECT_NEAR(crossings / 2.0 / (double(end - onset) / kRate), 1000, 10);
}

TEST_F(SoundRecorderTest, WaitsForSoundAndCutsLongQuietTails) {
  ASSERT_TRUE(recorder_.StartRecording(NewWriter(), 0, -20, 20000, 0));
  EXPECT_EQ(recorder_.state(), LSoundRecorder::kWaiting);
  PlaySignal({{1.0, 0}, {1.0, 16384}, {3.0, 0}});
  loop_.RunFor(800ms);
  EXPECT_EQ(events_.writer->length(), 0);  // quiet: nothing written

  ASSERT_TRUE(loop_.RunUntil([&] { return !events_.started_at.empty(); }, 2s));
  // The first loud buffer, after the second half of the held one when the sound
  // began there.
  EXPECT_TRUE(events_.started_at[0] == 441 || events_.started_at[0] == 441 + 221)
      << events_.started_at[0];

  // 1 s of tone, then more than 2 s of quiet: cut to the last loud time + 0.45 s.
  ASSERT_TRUE(loop_.RunUntil([&] { return events_.waiting_at.size() == 2; }, 5s));  // 1: at start
  const double tail_cut = double(events_.writer->length()) / kRate;
  EXPECT_NEAR(tail_cut, 1.0 + 0.45, 0.1);
  EXPECT_EQ(recorder_.state(), LSoundRecorder::kWaiting);

  events_.writer.reset();
  recorder_.StopRecording();  // and at the stop, 50 ms after the last loud time
  EXPECT_NEAR(double(Recorded().size()) / kRate, tail_cut - 0.4, 0.001);
}

TEST_F(SoundRecorderTest, SurvivesTheSoundServerGoingAwayAndComingBack) {
  ASSERT_TRUE(
      recorder_.StartRecording(NewWriter(), 0, -127, 216000000, LSoundRecorder::kStartWriting));
  loop_.RunFor(300ms);
  server_.Stop();  // and it does not come back at once: the recording ends, saying why
  EXPECT_TRUE(loop_.RunUntil([&] { return events_.recorder_lost == 1; }, 3s));
  EXPECT_EQ(recorder_.state(), LSoundRecorder::kClosed);
  EXPECT_EQ(events_.recorder_stopped, 1);
  EXPECT_FALSE(recorder_.StartRecording(NewWriter(), 0, -127, 0, LSoundRecorder::kStartWriting));

  ASSERT_TRUE(server_.Start());
  ASSERT_TRUE(recorder_.StartRecording(NewWriter(), 0, -127, 0, LSoundRecorder::kStartWriting));
  EXPECT_TRUE(loop_.RunUntil([&] { return events_.writer->length() > 0; }, 2s));
  recorder_.StopRecording();
}

}  // namespace
}  // namespace parlavox
