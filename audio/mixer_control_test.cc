#include "audio/mixer_control.h"

#include <cmath>
#include <cstdio>
#include <filesystem>

#include <gtest/gtest.h>

#include "audio/sound_devices.h"
#include "audio/sound_player.h"
#include "audio/sound_server_test_util.h"
#include "audio/wave_out.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

std::string Output(const std::string& command) {
  std::string text;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    char chunk[512];
    while (fgets(chunk, sizeof chunk, pipe) != nullptr) text += chunk;
    pclose(pipe);
  }
  return text;
}

// The first volume pactl prints for `what`, in server units.
long Volume(const std::string& what) {
  const std::string text = Output("pactl " + what + " | grep -m1 Volume:");
  const size_t colon = text.find(':', text.find("Volume:") + 7);
  return colon == std::string::npos ? -1 : std::stol(text.substr(colon + 1));
}

long ServerUnits(int decibels) {
  return std::lround(MixerControl::LevelToUnits(decibels) * 65536.0 / 65535.0);
}

int Index(const std::vector<SoundDevice>& devices, const std::string& name) {
  for (size_t i = 1; i < devices.size(); ++i) {
    if (devices[i].server_name == name) return static_cast<int>(i);
  }
  return -1;
}

TEST(MixerLevelsTest, DecibelsMapLinearlyOntoUnits) {
  EXPECT_EQ(MixerControl::LevelToUnits(-127), 0);
  EXPECT_EQ(MixerControl::LevelToUnits(-36), 0);
  EXPECT_EQ(MixerControl::LevelToUnits(-35), 1424);
  EXPECT_EQ(MixerControl::LevelToUnits(0), 51264);
  EXPECT_EQ(MixerControl::LevelToUnits(10), 65504);
  EXPECT_EQ(MixerControl::LevelToUnits(11), 65535);
  EXPECT_EQ(MixerControl::LevelToUnits(127), 65535);
}

class MixerControlTest : public testing::Test {
 protected:
  PrivateSoundServer server_;
  MixerControl mixer_;
};

TEST_F(MixerControlTest, SelectingTheRecordSourceSetsTheInputsLevelAndUnmutesIt) {
  const int mic = Index(ListInputDevices(), "mic.monitor");
  ASSERT_GT(mic, 0);
  ASSERT_EQ(server_.Pactl("set-source-mute mic.monitor 1"), 0);
  EXPECT_EQ(mixer_.SelectRecordSource(mic, 0, 0), 0);  // a null device has no ports
  EXPECT_EQ(Volume("get-source-volume mic.monitor"), ServerUnits(0));
  EXPECT_NE(Output("pactl get-source-mute mic.monitor").find("no"), std::string::npos);

  mixer_.SelectRecordSource(mic, -1, -20);  // leave the mixer alone
  mixer_.SelectRecordSource(-1, 0, -20);    // no device
  EXPECT_EQ(Volume("get-source-volume mic.monitor"), ServerUnits(0));
  mixer_.SelectRecordSource(mic, 0, -36);
  EXPECT_EQ(Volume("get-source-volume mic.monitor"), 0);

  EXPECT_EQ(mixer_.GetRecordSourceCount(mic), 0);
  EXPECT_EQ(mixer_.GetRecordSourceCount(-1), 0);
  EXPECT_EQ(mixer_.GetRecordSourceName(mic, -1), "System Record Mixer");
  EXPECT_EQ(mixer_.GetRecordSourceName(mic, 0), "<MIXER INVALID>");
  EXPECT_EQ(mixer_.GetRecordSourceName(99, 0), "<MIXER INVALID>");
}

TEST_F(MixerControlTest, PlaybackLevelsActOnTheProgramsOwnStreamsOnly) {
  std::string pattern = (std::filesystem::temp_directory_path() / "mixer-XXXXXX").string();
  const std::string folder = mkdtemp(pattern.data());
  const std::string path = folder + "/long.wav";
  {
    std::vector<int32_t> quiet(11025 * 3, 160);
    CreateWaveFileWriter(path, 11025, 1, 16, 0)->Write(quiet.data(), 11025 * 3);
  }
  const int speaker = Index(ListOutputDevices(), "speaker");
  TestLoop loop;
  LSoundPlayer player(loop);
  player.set_device(speaker);

  mixer_.SetOutputVolume(speaker, 0, 0);  // before the stream: it starts at that level
  ASSERT_TRUE(player.Play(OpenWaveFileReader(path)));
  const long both_faders = std::lround(51264.0 / 65535 * 51264.0 / 65535 * 65536);
  EXPECT_EQ(Volume("list sink-inputs"), both_faders);

  mixer_.SetOutputVolume(speaker, 0, -200);  // the wave level clamps to silence
  loop.RunFor(100ms);
  EXPECT_EQ(Volume("list sink-inputs"), 0);
  EXPECT_EQ(Volume("get-sink-volume speaker"), 65536);  // the system's volume stays

  EXPECT_EQ(mixer_.GetOutputSourceCount(speaker), 1);
  EXPECT_EQ(mixer_.GetOutputSourceName(speaker, 0), "Parlavox");
  EXPECT_EQ(mixer_.GetOutputSourceName(speaker, 1), "<MIXER INVALID>");
  mixer_.SetOutputSourceVolume(speaker, 0, -6);
  EXPECT_EQ(Volume("list sink-inputs"), ServerUnits(-6));

  player.StopPlayback();
  WaveOut::SetPlaybackVolume(1.0);  // the volume is the process's: leave it as found
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace parlavox
