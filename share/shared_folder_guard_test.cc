#include "share/shared_folder_guard.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>

#include "share/credentials.h"
#include "share/samba_server_test_util.h"
#include "util/eventually_test_util.h"
#include "util/scratch_folder_test_util.h"
#include "util/thread_activity_test_util.h"
#include "words/share_name.h"

namespace parlavox {
namespace {

// This machine's Samba shares the inward folder as "office/inward"; a caller writes a
// message there while the guard is asked to hold it. Held once the caller lets go (and
// tried again meanwhile without spinning), let go when left out; the share is asked for
// once.
TEST(SambaGuardTest, AMessageIsHeldOnceItsCallerLetsGoAndLetGoWhenLeftOut) {
  const ScratchFolder scratch;
  const std::string folder = scratch / "office/inward";
  std::filesystem::create_directories(folder);
  const SambaServer samba(scratch / "samba", {{"office", scratch / "office"}});
  ASSERT_TRUE(samba.Answers(std::chrono::seconds(10))) << samba.log();

  SmbConnections smb(CredentialsFile("/nonexistent/credentials.ini"));
  const ShareLocation inward = *ParseShareName("smb://127.0.0.1/office/inward");
  const std::string url = SmbUrl(inward, "7.wav");
  SmbConnection& caller = smb.For(inward);
  std::atomic<int> asked = 0;
  SharedFolderGuard guard(smb, [&](const std::string& shared) {
    ++asked;
    return shared == folder ? "office/inward" : "";
  });
  const auto refused_as_busy = [&] {
    int error = 0;
    return caller.OpenForWriting(url, &error) == nullptr && error == EBUSY;
  };

  std::unique_ptr<WritableFile> writing = caller.OpenForWriting(url);
  ASSERT_TRUE(writing && writing->WriteAt("RIFF", 4, 0));
  guard.Hold(folder, {"7.wav"});
  ASSERT_TRUE(Eventually([&] { return asked > 0; }));
  EXPECT_LT(TicksWithin({ThreadNamed("parlavox-guard")}, std::chrono::seconds(1)), 30);
  EXPECT_TRUE(writing->WriteAt("more", 4, 4));
  writing.reset();
  EXPECT_TRUE(Eventually(refused_as_busy));
  guard.Hold(folder, {"7.wav", "8.wav"});                       // another came
  std::this_thread::sleep_for(std::chrono::milliseconds(600));  // past a look-up
  EXPECT_TRUE(refused_as_busy());

  guard.Hold(folder, {});
  EXPECT_TRUE(Eventually([&] { return caller.OpenForWriting(url) != nullptr; }));
  EXPECT_EQ(asked, 1);
}

}  // namespace
}  // namespace parlavox
