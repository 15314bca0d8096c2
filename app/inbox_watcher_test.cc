#include "app/inbox_watcher.h"

#include <atomic>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>

#include "app/counting_poster_test_util.h"
#include "app/scratch_folder_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

bool PostedWithin(const CountingPoster& poster, int at_least, std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (poster.posts < at_least && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(10ms);
  }
  return poster.posts >= at_least;
}

TEST(InboxWatcherTest, EveryKindOfNameChangeIsReportedAndStopIsPrompt) {
  ScratchFolder folder;
  CountingPoster poster;
  InboxWatcher watcher(poster);
  watcher.StartWatching(folder.path(), [] {});
  std::this_thread::sleep_for(100ms);
  EXPECT_EQ(poster.posts, 0);

  WriteFileText(folder / "42.wav", "x");  // a message arrives
  ASSERT_TRUE(PostedWithin(poster, 1, 2s));
  int seen = poster.posts;
  std::filesystem::rename(folder / "42.wav", folder / "43.wav");
  ASSERT_TRUE(PostedWithin(poster, seen + 1, 2s));
  seen = poster.posts;
  std::filesystem::remove(folder / "43.wav");  // played and deleted
  ASSERT_TRUE(PostedWithin(poster, seen + 1, 2s));

  seen = poster.posts;
  std::filesystem::create_directory(folder / "sub");
  ASSERT_TRUE(PostedWithin(poster, seen + 1, 2s));  // the subfolder itself is a new name
  seen = poster.posts;
  WriteFileText(folder / "sub/7.wav", "x");  // subfolders are not watched
  std::this_thread::sleep_for(300ms);
  EXPECT_EQ(poster.posts, seen);

  const auto began = std::chrono::steady_clock::now();
  watcher.Stop();
  EXPECT_LT(std::chrono::steady_clock::now() - began, 1s);
  EXPECT_FALSE(IsOnNetworkFileSystem(folder.path()));

  InboxWatcher missing(poster);  // a folder that isn't there: the thread just ends
  missing.StartWatching(folder / "nowhere", [] {});
  std::this_thread::sleep_for(100ms);
  EXPECT_FALSE(missing.IsRunning());
}

}  // namespace
}  // namespace parlavox
