#include "audio/mixer_control.h"

#include <cmath>
#include <filesystem>

#include <gtest/gtest.h>

#include "audio/sound_devices.h"
#include "audio/sound_player.h"
#include "audio/sound_recorder.h"
#include "audio/sound_server_test_util.h"
#include "util/child_process_test_util.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

// The first volume pactl prints for `what`, in decibels (-inf for silence).
double Decibels(const std::string& what) {
  const std::string text = ShellOutput("pactl " + what + " | grep -m1 Volume:");
  const size_t slash = text.rfind('/');
  if (slash == std::string::npos) return NAN;
  return std::stod(text.substr(slash + 1));
}

int Index(const std::vector<SoundDevice>& devices, const std::string& name) {
  for (size_t i = 1; i < devices.size(); ++i) {
    if (devices[i].server_name == name) return static_cast<int>(i);
  }
  return -1;
}

class MixerControlTest : public testing::Test {
 protected:
  PrivateSoundServer server_;
  MixerControl mixer_;
};

TEST_F(MixerControlTest, RecordSourcesArePortsAndSelectingOneLeavesTheVolumeAlone) {
  const int mic = Index(ListInputDevices(), "mic.monitor");
  ASSERT_GT(mic, 0);
  ASSERT_EQ(server_.Pactl("set-source-volume mic.monitor -7dB"), 0);
  ASSERT_EQ(server_.Pactl("set-source-mute mic.monitor 1"), 0);
  EXPECT_EQ(mixer_.SelectRecordSource({mic, "mic.monitor"}, 0), 0);   // a null device has no ports
  EXPECT_EQ(mixer_.SelectRecordSource({mic, "mic.monitor"}, -1), 0);  // leave the mixer alone
  EXPECT_EQ(mixer_.SelectRecordSource({-1, ""}, 0), 0);               // no device
  EXPECT_NEAR(Decibels("get-source-volume mic.monitor"), -7, 0.1);
  EXPECT_NE(ShellOutput("pactl get-source-mute mic.monitor").find("yes"), std::string::npos);

  EXPECT_EQ(mixer_.GetRecordSourceCount(mic), 0);
  EXPECT_EQ(mixer_.GetRecordSourceCount(-1), 0);
  EXPECT_EQ(mixer_.GetRecordSourceName(mic, -1), "System Record Mixer");
  EXPECT_EQ(mixer_.GetRecordSourceName(mic, 0), "<MIXER INVALID>");
  EXPECT_EQ(mixer_.GetRecordSourceName(99, 0), "<MIXER INVALID>");
}

// The levels are real decibels on the program's own streams, given as each stream is
// made: nothing of the system's volume changes, and no stream starts at another level.
TEST_F(MixerControlTest, LevelsAreDecibelsOfTheProgramsOwnStreams) {
  const ScratchFolder folder;
  const std::string path = folder / "long.wav";
  {
    std::vector<int32_t> quiet(11025 * 3, 160);
    CreateWaveFileWriter(path, 11025, 1, 16, 0)->Write(quiet.data(), 11025 * 3);
  }
  TestLoop loop;
  LSoundPlayer player(loop);
  player.set_device({0, "speaker"});
  for (const int level : {-10, 6, 0, -36}) {
    player.set_level(level);
    ASSERT_TRUE(player.Play(OpenWaveFileReader(path)));
    EXPECT_NEAR(Decibels("list sink-inputs"), level, 0.1) << level;
    player.StopPlayback();
  }
  EXPECT_NEAR(Decibels("get-sink-volume speaker"), 0, 0.1);

  LSoundRecorder recorder(loop);
  recorder.set_device({0, "mic.monitor"});
  recorder.set_level(-6);
  ASSERT_TRUE(recorder.StartRecording(CreateWaveFileWriter(folder / "call.wav", 11025, 1, 16, 0), 0,
                                      -127, 216000000, Recorder::kStartWriting));
  EXPECT_NEAR(Decibels("list source-outputs"), -6, 0.1);
  EXPECT_NEAR(Decibels("get-source-volume mic.monitor"), 0, 0.1);
  recorder.StopRecording();
}

}  // namespace
}  // namespace parlavox
