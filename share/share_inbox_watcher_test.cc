#include "share/share_inbox_watcher.h"

#include <stdlib.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "audio/wave_file.h"
#include "share/credentials.h"
#include "share/inward_mirror.h"
#include "share/samba_server_test_util.h"
#include "util/counting_poster_test_util.h"
#include "util/eventually_test_util.h"
#include "util/scratch_folder_test_util.h"
#include "util/thread_activity_test_util.h"

namespace parlavox {
namespace {

using std::chrono::milliseconds;

// Stands in for the watch of the local copy (inotify's in the program): notes the folder.
class NotedLocalWatch : public InboxWatching {
 public:
  void StartWatching(const std::string& folder, std::function<void()>,
                     std::function<void(bool)>) override {
    watched = folder;
  }
  void AskToStop() override {}
  void StopWatching() override {}
  std::string watched;
};

// Writes a message of `pieces` hundredths of a second at `path`, one every 10 ms.
void SpeakInto(const std::string& path, int pieces) {
  const std::shared_ptr<WaveFileWriter> writer = CreateWaveFileWriter(path, 11025, 1, 16, 0);
  const std::vector<int32_t> sound(11025 / 100, 1 << 16);
  for (int piece = 0; piece < pieces; ++piece) {
    writer->Write(sound.data(), int64_t(sound.size()));
    std::this_thread::sleep_for(milliseconds(10));
  }
  writer->Finish();
}

// The own inward folder on this machine's Samba, kept in step in a local copy: the
// messages put there are copied, and the threads that keep the copy sleep between their
// looks: while the folder is quiet, while a message grows and while the server can't be
// reached, which is told.
TEST(SambaWatcherTest, TheLocalCopyFollowsTheServerAndItsThreadsSleepBetweenLooks) {
  const ScratchFolder scratch;
  setenv("XDG_RUNTIME_DIR", (scratch / "run").c_str(), 1);
  const std::string on_disk = scratch / "office/inward";
  std::filesystem::create_directories(on_disk);
  const SambaServer samba(scratch / "samba", {{"office", scratch / "office"}});
  ASSERT_TRUE(samba.Answers(std::chrono::seconds(10))) << samba.log();

  SmbConnections smb(CredentialsFile("/nonexistent/credentials.ini"));
  NotedLocalWatch local;
  CountingPoster owner;
  std::atomic<int> usable = -1;
  ShareInboxWatcher watcher(local, smb, owner);
  const std::string folder = "smb://127.0.0.1/office/inward";
  watcher.StartWatching(
      folder, [] {}, [&](bool reached) { usable = reached; });
  const std::string copy = LocalInwardFolder(folder);
  EXPECT_EQ(local.watched, copy);
  const auto copied_whole = [&](const std::string& name) {
    std::error_code no_copy, none;
    return std::filesystem::file_size(copy + "/" + name, no_copy) ==
               std::filesystem::file_size(on_disk + "/" + name, none) &&
           !no_copy && !none;
  };

  // What waited there is cleared at the start; then the server's reports are asked
  // for, on a thread of their own, and a message put there before the server took the
  // request is found when the first report is due.
  ASSERT_TRUE(Eventually([] { return ThreadNamed("parlavox-notice") != 0; }));
  SpeakInto(on_disk + "/5.wav", 10);
  EXPECT_TRUE(Eventually([&] { return copied_whole("5.wav"); }));
  const pid_t mirror = ThreadNamed("parlavox-mirror");
  std::jthread speaking([&] { SpeakInto(on_disk + "/6.wav", 150); });
  std::this_thread::sleep_for(milliseconds(200));            // for it to be noticed and followed
  EXPECT_LT(TicksWithin({mirror}, milliseconds(1000)), 30);  // of the 100 a second's spinning
  speaking.join();
  EXPECT_TRUE(Eventually([&] { return copied_whole("6.wav"); }));
  // Looked at often for a while after, then every second.
  EXPECT_LT(TicksWithin({mirror}, milliseconds(3000)), 20);
  EXPECT_EQ(usable, -1);  // usable from the start

  watcher.StartWatching(
      "smb://127.0.0.1:4458/office/inward", [] {}, [&](bool reached) { usable = reached; });
  EXPECT_TRUE(Eventually([&] { return usable == 0; }));
  EXPECT_LT(TicksWithin({ThreadNamed("parlavox-mirror"), ThreadNamed("parlavox-notice")},
                        milliseconds(1000)),
            30);
  watcher.StopWatching();
  unsetenv("XDG_RUNTIME_DIR");
}

}  // namespace
}  // namespace parlavox
