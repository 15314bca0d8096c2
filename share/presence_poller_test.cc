#include "share/presence_poller.h"

#include <pthread.h>

#include <atomic>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>

#include "settings/profile_file.h"
#include "settings/scratch_settings_test_util.h"
#include "share/smb_connection.h"
#include "util/counting_poster_test_util.h"
#include "util/eventually_test_util.h"
#include "util/paths.h"
#include "words/user_record_test_util.h"

namespace parlavox {
namespace {

bool ReadLocalRecord(UserRecord* record, const std::string& folder, std::string*) {
  return ReadUserRecord(record, JoinPath(folder, kUserRecordFileName));
}

using namespace std::chrono_literals;

class PresenceTest : public ScratchSettingsTest {
 protected:
  // Lists a user whose inward folder is `folder`; a null record leaves it without one.
  // Publishes `record` (when given) in `folder`, then lists the folder.
  void ListUser(const std::string& folder, const UserRecord* record) {
    if (record) {
      std::filesystem::create_directories(folder);
      ASSERT_TRUE(WriteUserRecord(*record, JoinPath(folder, kUserRecordFileName)));
    }
    users_.AddFolder(folder);
  }

  std::optional<std::string> Cached(const std::string& key) {
    return FindProfileString(settings_.settings_path(), "users", key);
  }

  UsersCache users_{settings_};
};

TEST_F(PresenceTest, CopiesRecordsIntoTheCacheAndKeepsNamesOfUnreachableUsers) {
  const UserRecord alice = MakeUserRecord("Alice", 11, true),
                   bob = MakeUserRecord("Bob", 22, false);
  ListUser(scratch_ / "alice", &alice);
  ListUser(scratch_ / "bob", &bob);
  ListUser(scratch_ / "gone", nullptr);

  EXPECT_TRUE(RefreshPresence(users_, ReadLocalRecord));
  EXPECT_EQ(Cached("on0"), "true");
  EXPECT_EQ(Cached("name0"), "Alice");
  EXPECT_EQ(Cached("id0"), "11");
  EXPECT_EQ(Cached("on1"), std::nullopt);  // off and already read as off: not written
  EXPECT_EQ(Cached("name1"), "Bob");
  EXPECT_EQ(Cached("id1"), "22");
  EXPECT_EQ(Cached("on2"), std::nullopt);
  EXPECT_EQ(Cached("name2"), std::nullopt);
  EXPECT_EQ(Cached("id2"), std::nullopt);

  settings_.DeleteKey("users", "id1");
  EXPECT_FALSE(
      RefreshPresence(users_, ReadLocalRecord));  // ids are written on every pass, silently
  EXPECT_EQ(Cached("id1"), "22");

  std::filesystem::remove_all(scratch_ / "alice");
  EXPECT_TRUE(RefreshPresence(users_, ReadLocalRecord));
  EXPECT_EQ(Cached("on0"), "false");
  EXPECT_EQ(Cached("name0"), "Alice");
  EXPECT_EQ(Cached("id0"), "11");

  const UserRecord renamed = MakeUserRecord("Robert", 22, false);
  ASSERT_TRUE(WriteUserRecord(renamed, scratch_ / "bob/ParlavoxUserData"));
  EXPECT_TRUE(RefreshPresence(users_, ReadLocalRecord));
  EXPECT_EQ(Cached("name1"), "Robert");
  EXPECT_FALSE(RefreshPresence(users_, ReadLocalRecord));
}

// Servers are fakes here: a reader that knows folders named on "\\a-slow", "\\b-fast" and
// "\\refuses" and what each does.
TEST_F(PresenceTest, EachServerIsReadApartAndOneInTroubleIsNotAskedAgainInAPass) {
  for (const char* folder :
       {"\\\\a-slow\\s\\a", "\\\\b-fast\\s\\b", "\\\\refuses\\s\\c", "\\\\refuses\\s\\d"}) {
    ListUser(folder, nullptr);
  }
  std::atomic<bool> fast_read{false};
  std::atomic<bool> slow_saw_fast{false};
  std::atomic<int> refused_asks{0};
  const RecordReader read = [&](UserRecord* record, const std::string& folder,
                                std::string* trouble) {
    if (folder.starts_with("\\\\a-slow")) {
      // Waits (for at most 5 s) for the other server's read, which comes only when the
      // servers are read side by side.
      slow_saw_fast = Eventually([&] { return fast_read.load(); }, 5s);
    } else if (folder.starts_with("\\\\b-fast")) {
      fast_read = true;
    } else {
      ++refused_asks;
      *trouble = "Server refuses refused a guest";
      return false;
    }
    *record = MakeUserRecord(folder.c_str() + 2, 1, true);
    return true;
  };
  std::set<std::string> troubles;
  std::set<int> unreached;
  EXPECT_TRUE(RefreshPresence(users_, read, &troubles, &unreached));
  EXPECT_EQ(unreached, (std::set<int>{2, 3}));
  EXPECT_TRUE(slow_saw_fast);
  EXPECT_EQ(refused_asks, 1);
  EXPECT_EQ(troubles, std::set<std::string>{"Server refuses refused a guest"});
  EXPECT_EQ(Cached("on0"), "true");
  EXPECT_EQ(Cached("on1"), "true");
  EXPECT_EQ(Cached("on2"), std::nullopt);
}

TEST_F(PresenceTest, PollerPostsTheFirstPassAndEveryChangeAndStopsPromptly) {
  // A server that refuses every pass: its trouble is told once, not at every pass.
  ListUser("\\\\refuses\\s\\c", nullptr);
  const RecordReader read = [](UserRecord* record, const std::string& folder,
                               std::string* trouble) {
    if (!folder.starts_with("\\\\refuses")) return ReadLocalRecord(record, folder, trouble);
    *trouble = "Server refuses refused a guest";
    return false;
  };
  CountingPoster poster;
  PresencePoller poller(users_, poster, read, nullptr, /*interval=*/100ms);
  int changes = 0, troubles = 0;  // touched only by posted tasks, run on the poller's thread
  poller.StartPolling([&](const std::set<int>&) { ++changes; },
                      [&](const std::string&) { ++troubles; });
  ASSERT_TRUE(Eventually([&] { return poster.posts == 2; }));  // the first pass, the trouble
  std::this_thread::sleep_for(300ms);  // passes that change nothing post nothing
  EXPECT_EQ(poster.posts, 2);
  EXPECT_EQ(troubles, 1);

  const UserRecord carol = MakeUserRecord("Carol", 33, true);
  ListUser(scratch_ / "carol", &carol);  // a pass may see her listed before it reads her
  EXPECT_TRUE(Eventually([&] { return Cached("on1") == "true"; }));
  EXPECT_TRUE(Eventually([&] { return poster.posts >= 3; }));
  const int posted = poster.posts;  // going off, under the same name, is a change too
  ASSERT_TRUE(WriteUserRecord(MakeUserRecord("Carol", 33, false),
                              JoinPath(scratch_ / "carol", kUserRecordFileName)));
  EXPECT_TRUE(Eventually([&] { return poster.posts > posted && Cached("on1") == "false"; }));

  const auto began = std::chrono::steady_clock::now();
  poller.Stop();
  EXPECT_LT(std::chrono::steady_clock::now() - began, 1s);
  EXPECT_FALSE(poller.IsRunning());
  EXPECT_EQ(changes + troubles, poster.posts.load());  // each post ran
}

// A pass over many users on a server far away (each read three round trips of 100 ms)
// takes longer than a stop may wait: a stop ends it at the next user, and the users
// it did not read keep what they had.
TEST_F(PresenceTest, AStopEndsAPassOnASlowServerAtTheNextUserAndTheCacheKeepsItsState) {
  for (int i = 0; i < 20; ++i) ListUser("\\\\far\\s\\u" + std::to_string(i), nullptr);
  std::atomic<int> reads{0};
  const RecordReader read = [&](UserRecord* record, const std::string&, std::string*) {
    ++reads;
    std::this_thread::sleep_for(300ms);
    *record = MakeUserRecord("Far", 7, true);
    return true;
  };
  CountingPoster poster;
  PresencePoller poller(users_, poster, read, nullptr);
  poller.StartPolling([](const std::set<int>&) {}, [](const std::string&) {});
  ASSERT_TRUE(Eventually([&] { return reads >= 2; }));
  const auto began = std::chrono::steady_clock::now();
  poller.Stop();
  EXPECT_LT(std::chrono::steady_clock::now() - began, 1s);
  EXPECT_EQ(poster.posts, 0);
  EXPECT_EQ(Cached("on0"), std::nullopt);
}

// Every operation through Samba waits for the one before, on whatever server: while a
// message moves, a pass reads the users on the file system and on a share that was
// quick to read, but takes what the last read found for one whose read held the
// library long, until the sound stops or that read is the longest skip old.
TEST_F(PresenceTest, WhileAMessageMovesASlowShareIsReadOnlyEveryLongestSkip) {
  ListUser("\\\\far\\s\\u", nullptr);
  ListUser("\\\\near\\s\\u", nullptr);
  const UserRecord carol = MakeUserRecord("Carol", 33, true);
  ListUser(scratch_ / "carol", &carol);
  std::atomic<bool> moving = false;
  std::atomic<int> far_reads{0}, near_reads{0};
  const RecordReader read = [&](UserRecord* record, const std::string& folder,
                                std::string* trouble) {
    if (!folder.starts_with("\\\\")) return ReadLocalRecord(record, folder, trouble);
    if (folder.starts_with("\\\\near")) {
      ++near_reads;
    } else {
      const SmbConnection::Turn turn(/*counts_as_use=*/false);  // a far server's round trips
      std::this_thread::sleep_for(2 * PresencePoller::kQuickRead);
      if (++far_reads == 2) moving = true;  // a call starts as the second pass ends
    }
    *record = MakeUserRecord("Shared", 7, true);
    return true;
  };
  CountingPoster poster;
  PresencePoller poller(
      users_, poster, read, [&] { return moving.load(); }, 100ms, /*longest_skip=*/3s);
  poller.StartPolling([](const std::set<int>&) {}, [](const std::string&) {});
  ASSERT_TRUE(Eventually([&] { return far_reads == 2; }));
  EXPECT_TRUE(Eventually([&] { return near_reads >= 5; }, 2s));  // passes go on
  EXPECT_EQ(far_reads, 2);
  EXPECT_EQ(Cached("on0"), "true");  // what the last read found stands
  EXPECT_TRUE(Eventually([&] { return far_reads == 3; }, 5s));

  moving = false;  // read at the next pass again
  EXPECT_TRUE(Eventually([&] { return far_reads == 4; }, 1s));
}

// Servers that stopped answering hold a pass's readers for seconds each, longer than a
// stop waits, and the stop then ends the polling thread by force while it waits for
// them: it still waits for them (they use the pass's state), and the program goes on.
TEST_F(PresenceTest, APassEndedByForceWhileItsReadersHangWaitsForThemAndDoesNotAbort) {
#ifdef PARLAVOX_ADDRESS_SANITIZER
  GTEST_SKIP() << "thread cancellation is not supported under AddressSanitizer";
#endif
  ListUser("\\\\hung-a\\s\\a", nullptr);
  ListUser("\\\\hung-b\\s\\b", nullptr);
  std::atomic<int> reading{0}, read{0};
  std::atomic<bool> answer{false};
  struct Pass {
    UsersCache* users;
    RecordReader read;
  } pass{&users_, [&](UserRecord*, const std::string&, std::string*) {
           ++reading;
           while (!answer) std::this_thread::yield();
           ++read;
           return false;
         }};
  pthread_t thread;
  ASSERT_EQ(pthread_create(
                &thread, nullptr,
                [](void* pass) -> void* {
                  RefreshPresence(*static_cast<Pass*>(pass)->users, static_cast<Pass*>(pass)->read);
                  return nullptr;
                },
                &pass),
            0);
  ASSERT_TRUE(Eventually([&] { return reading == 2; }));
  pthread_cancel(thread);
  std::this_thread::sleep_for(100ms);  // for the cancellation to reach the thread first
  answer = true;
  ASSERT_EQ(pthread_join(thread, nullptr), 0);
  EXPECT_EQ(read, 2);
}

}  // namespace
}  // namespace parlavox
