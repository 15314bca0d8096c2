#include "platform/inbox_watcher.h"

#include <atomic>
#include <filesystem>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

#include "util/counting_poster_test_util.h"
#include "util/eventually_test_util.h"
#include "util/file_io.h"
#include "util/scratch_folder_test_util.h"
#include "util/thread_activity_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

TEST(InboxWatcherTest, EveryKindOfNameChangeIsReportedAndStopIsPrompt) {
  ScratchFolder folder;
  CountingPoster poster;
  InboxWatcher watcher(poster);
  const long open_files = OpenFileCount();
  watcher.StartWatching(
      folder.path(), [] {}, [](bool) {});
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(poster.posts, 0);

  // Idle, the watcher sleeps without waking now and then, and without spinning.
  const pid_t watching = ThreadNamed("parlavox-watch");
  ASSERT_NE(watching, 0);
  const ThreadActivity before = ActivityOf(watching);
  std::this_thread::sleep_for(500ms);
  EXPECT_EQ(ActivityOf(watching), before);

  WriteFileText(folder / "42.wav", "x");  // a message arrives
  ASSERT_TRUE(Eventually([&] { return poster.posts >= 1; }, 2s));
  int seen = poster.posts;
  std::filesystem::rename(folder / "42.wav", folder / "43.wav");
  ASSERT_TRUE(Eventually([&] { return poster.posts >= seen + 1; }, 2s));
  seen = poster.posts;
  std::filesystem::remove(folder / "43.wav");  // played and deleted
  ASSERT_TRUE(Eventually([&] { return poster.posts >= seen + 1; }, 2s));

  seen = poster.posts;
  std::filesystem::create_directory(folder / "sub");
  ASSERT_TRUE(Eventually([&] { return poster.posts >= seen + 1; },
                         2s));  // the subfolder itself is a new name
  seen = poster.posts;
  WriteFileText(folder / "sub/7.wav", "x");  // subfolders are not watched
  std::this_thread::sleep_for(300ms);
  EXPECT_EQ(poster.posts, seen);

  const auto began = std::chrono::steady_clock::now();
  watcher.StopWatching();
  EXPECT_LT(std::chrono::steady_clock::now() - began, 1s);  // woken, not forced after 5 s
  EXPECT_EQ(OpenFileCount(), open_files);  // each start watches anew: the last watch is let go
  EXPECT_FALSE(IsOnNetworkFileSystem(folder.path()));
}

TEST(InboxWatcherTest, AFolderThatGoesAndComesBackIsWatchedAgain) {
  ScratchFolder scratch;
  const std::string folder = scratch / "Incoming";
  CountingPoster poster;
  std::atomic<int> changes{0}, losses{0}, returns{0};
  const auto within = [](const std::atomic<int>& count, int at_least) {
    return Eventually([&] { return count >= at_least; }, 3s);
  };
  InboxWatcher watcher(poster);
  watcher.StartWatching(
      folder, [&] { ++changes; }, [&](bool usable) { ++(usable ? returns : losses); });
  ASSERT_TRUE(within(losses, 1));  // not there at the start
  // Looked for again every second, not in a loop.
  const pid_t watching = ThreadNamed("parlavox-watch");
  ASSERT_NE(watching, 0);
  const ThreadActivity before = ActivityOf(watching);
  std::this_thread::sleep_for(500ms);
  EXPECT_LT(ActivityOf(watching).ticks - before.ticks, 10) << "it spins";

  std::filesystem::create_directory(folder);
  ASSERT_TRUE(within(returns, 1));  // found within a second
  ASSERT_TRUE(within(changes, 1));  // and what arrived meanwhile is looked at
  WriteFileText(folder + "/42.wav", "x");
  ASSERT_TRUE(within(changes, 2));

  // Removed and made again, as a share mounted anew: the new folder is watched.
  std::filesystem::remove_all(folder);
  ASSERT_TRUE(within(losses, 2));
  std::filesystem::create_directory(folder);
  ASSERT_TRUE(within(returns, 2));
  std::this_thread::sleep_for(100ms);
  const int seen = changes;
  WriteFileText(folder + "/43.wav", "x");
  EXPECT_TRUE(within(changes, seen + 1));

  // A plain file where the folder should be can't be watched either.
  std::filesystem::remove_all(folder);
  WriteFileText(folder, "not a folder");
  EXPECT_TRUE(within(losses, 3));
  EXPECT_EQ(returns, 2);
}

TEST(InboxWatcherTest,
     TheListingIsComparedEverySecondWhereNotificationsDontReachAndSeesAMessageSentAgain) {
  // A share whose changes from other machines inotify never hears of: only the
  // listing shows them.
  ScratchFolder folder;
  std::mutex mutex;
  std::set<std::string> on_the_share;
  CountingPoster poster;
  InboxWatcher watcher(poster, InboxWatcher::ListingPoll::kAlways, [&](const std::string&) {
    std::lock_guard lock(mutex);
    return on_the_share;
  });
  watcher.StartWatching(
      folder.path(), [] {}, [](bool) {});
  std::this_thread::sleep_for(100ms);
  const pid_t watching = ThreadNamed("parlavox-watch");
  ASSERT_NE(watching, 0);
  const ThreadActivity idle = ActivityOf(watching);
  std::this_thread::sleep_for(1400ms);
  EXPECT_EQ(poster.posts, 0);  // an unchanged listing wakes nobody
  EXPECT_LT(ActivityOf(watching).ticks - idle.ticks, 10) << "it spins";  // a look a second
  {
    std::lock_guard lock(mutex);
    on_the_share.insert("42.wav");
  }
  EXPECT_TRUE(Eventually([&] { return poster.posts >= 1; }, 3s));
  const int told = poster.posts;
  std::this_thread::sleep_for(1500ms);
  EXPECT_EQ(poster.posts, told);  // told once, not again at every look

  // A message sent again under its name changes the listing.
  WriteFileText(folder / "12.wav", "first");
  const std::set<std::string> before = ListFolder(folder.path());
  std::filesystem::remove(folder / "12.wav");
  WriteFileText(folder / "12.wav", "the second message");  // the same name, half a second on
  EXPECT_NE(ListFolder(folder.path()), before);
  EXPECT_EQ(ListFolder(folder.path()).size(), 1u);
}

}  // namespace
}  // namespace parlavox
