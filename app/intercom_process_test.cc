// Runs the real parlavox executable in a home of its own and watches what it does
// through the file system and its command-line control.

#include <signal.h>

#include <gtest/gtest.h>

#include "app/intercom_copy_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

class IntercomProcessTest : public testing::Test {
 protected:
  std::string Cached(const std::string& key) const {
    return FindProfileString(copy_.settings(), "users", key).value_or("<missing>");
  }

  ScratchFolder scratch_;
  IntercomCopy copy_{scratch_.path()};
};

TEST_F(IntercomProcessTest, FirstStartPublishesItselfAndPollsTheOthers) {
  copy_.Start();
  ASSERT_TRUE(copy_.WaitUntilAnswering()) << copy_.log();

  const UserRecord own = copy_.OwnRecord();
  EXPECT_TRUE(own.is_on());
  EXPECT_GE(own.id, 1);
  EXPECT_FALSE(own.Name().empty());

  ASSERT_TRUE(PublishUser(scratch_ / "alice", "Alice", 101, true));
  ASSERT_TRUE(PublishUser(scratch_ / "bob", "Bob", 202, false));
  copy_.Set("users", "folder0", scratch_ / "alice");
  copy_.Set("users", "folder1", scratch_ / "bob");
  copy_.Set("users", "folder2", scratch_ / "nobody");
  copy_.Set("users", "foldercount", "3");

  // What the poll read is kept in the settings for the next start (the cache's rules
  // are the presence test's).
  ASSERT_TRUE(Eventually([&] { return Cached("name1") == "Bob"; }, 6s))
      << FileText(copy_.settings());
  EXPECT_EQ(Cached("id0"), "101");

  QJsonObject status;
  ASSERT_TRUE(Eventually(
      [&] {
        status = copy_.Status();
        return status["users"].toArray().size() == 3;
      },
      2s))
      << copy_.log();
  const QJsonArray users = status["users"].toArray();
  EXPECT_EQ(users[0].toObject()["name"].toString(), "Alice");
  EXPECT_TRUE(users[0].toObject()["on"].toBool());
  EXPECT_EQ(users[0].toObject()["id"].toInt(), 101);
  EXPECT_EQ(users[1].toObject()["name"].toString(), "Bob");
  EXPECT_FALSE(users[1].toObject()["on"].toBool());
  EXPECT_EQ(users[2].toObject()["name"].toString(), "Pending Connection");
  EXPECT_EQ(status["id"].toInt(), own.id);
  EXPECT_TRUE(status["on"].toBool());
  EXPECT_EQ(status["previous_caller"].toInt(), -1);

  std::filesystem::remove(scratch_ / "alice/ParlavoxUserData");
  EXPECT_TRUE(Eventually(
      [&] {
        const QJsonArray users = copy_.Status()["users"].toArray();
        return !users.isEmpty() && !users[0].toObject()["on"].toBool();
      },
      7s));  // the next poll, within 5 s
  // Her record can't be read: not reached, her last name kept; so is a folder not there.
  EXPECT_NE(
      copy_.log().find("users: Alice (not reached), Bob (off), Pending Connection (not reached)"),
      std::string::npos)
      << copy_.log();
  EXPECT_FALSE(copy_.UserStatus(0)["reached"].toBool(true));

  EXPECT_EQ(copy_.Control({"--quit"}).first, 0);
  EXPECT_EQ(copy_.process().WaitForExit(10s), 0);
}

TEST_F(IntercomProcessTest, EveryWayOfEndingPublishesTheIntercomAsOff) {
  for (const int ending : {0, SIGTERM, SIGINT, SIGHUP}) {
    copy_.Start();
    ASSERT_TRUE(copy_.WaitUntilAnswering()) << copy_.log();
    ASSERT_TRUE(copy_.OwnRecord().is_on());
    if (ending == 0) {
      EXPECT_EQ(copy_.Control({"--quit"}).first, 0);
    } else {
      copy_.process().Signal(ending);
    }
    EXPECT_EQ(copy_.process().WaitForExit(10s), 0) << "ending " << ending << "\n" << copy_.log();
    EXPECT_FALSE(copy_.OwnRecord().is_on()) << "ending " << ending;
  }
}

TEST_F(IntercomProcessTest, ControlsTheRunningCopyAndKeepsOneCopyRunning) {
  EXPECT_EQ(copy_.Control({"--status"}).first, 1);
  EXPECT_EQ(copy_.Control({"--on"}).first, 1);
  ASSERT_EQ(copy_.Control({"--set-id", "4242"}).first, 0);  // works on the record without a copy
  EXPECT_EQ(copy_.OwnRecord().id, 4242);
  EXPECT_EQ(copy_.Control({"--set-id", "0"}).first, 2);
  EXPECT_EQ(copy_.Control({"--set-id", "12abc"}).first, 2);
  EXPECT_EQ(copy_.Control({"--set-name", ""}).first, 2);
  EXPECT_EQ(copy_.Control({"--call", "-1"}).first, 2);

  // Started inside its own inward folder, with a user whose folder is left empty: the
  // empty folder must not be taken for the folder it was started in.
  copy_.Set("users", "folder0", "");
  copy_.Set("users", "foldercount", "1");
  copy_.Start(copy_.inward_folder());
  ASSERT_TRUE(copy_.WaitUntilAnswering()) << copy_.log();
  EXPECT_EQ(copy_.Status()["id"].toInt(), 4242);  // identity survives in the record file
  const auto [call, errors] = copy_.Run({"--call", "0"});
  EXPECT_EQ(call.first, 1);
  EXPECT_NE(errors.find("Unable to contact user's computer"), std::string::npos) << errors;
  for (const auto& entry : std::filesystem::directory_iterator(copy_.inward_folder())) {
    EXPECT_NE(entry.path().extension(), ".wav") << "it called itself";
  }

  ASSERT_EQ(copy_.Control({"--off"}).first, 0);
  EXPECT_FALSE(copy_.OwnRecord().is_on());
  EXPECT_FALSE(copy_.Status()["on"].toBool());
  ASSERT_EQ(copy_.Control({"--on"}).first, 0);
  EXPECT_TRUE(copy_.OwnRecord().is_on());

  ASSERT_EQ(copy_.Control({"--set-name", "Dana Example"}).first, 0);
  ASSERT_EQ(copy_.Control({"--set-email", "dana@example.org"}).first, 0);
  EXPECT_EQ(copy_.OwnRecord().Name(), "Dana Example");
  EXPECT_EQ(copy_.OwnRecord().Email(), "dana@example.org");
  EXPECT_EQ(copy_.Status()["name"].toString(), "Dana Example");

  ChildProcess second({PARLAVOX_BINARY, "/service"}, copy_.Environment(), "/dev/null",
                      scratch_ / "second.log");
  EXPECT_EQ(second.WaitForExit(10s), 0);
  EXPECT_TRUE(copy_.process().running());
  EXPECT_TRUE(Eventually(
      [&] { return copy_.log().find("asked to show itself") != std::string::npos; }, 5s));

  EXPECT_EQ(copy_.Control({"--status", "--on"}).first, 2);
  EXPECT_EQ(copy_.Control({"--quit"}).first, 0);
  EXPECT_EQ(copy_.process().WaitForExit(10s), 0);
}

TEST_F(IntercomProcessTest, ASecondStartBesideAStoppedCopyLeavesItAlone) {
  copy_.Start();
  ASSERT_TRUE(copy_.WaitUntilAnswering()) << copy_.log();
  copy_.process().Signal(SIGSTOP);  // stopped, or too busy to answer
  const auto [second, errors] = copy_.Run({"/service"});
  EXPECT_EQ(second.first, 1);
  EXPECT_NE(errors.find("another copy is running but does not answer"), std::string::npos)
      << errors;
  EXPECT_TRUE(copy_.OwnRecord().is_on());  // the second never published itself off
  EXPECT_TRUE(std::filesystem::exists(copy_.runtime_folder() + "/parlavox.sock"));
  copy_.process().Signal(SIGCONT);
  EXPECT_EQ(copy_.Control({"--status"}).first, 0);
  EXPECT_EQ(copy_.Control({"--quit"}).first, 0);
  EXPECT_EQ(copy_.process().WaitForExit(10s), 0);

  // A copy that died leaves no claim behind.
  copy_.Start();
  ASSERT_TRUE(copy_.WaitUntilAnswering()) << copy_.log();
  copy_.process().Signal(SIGKILL);
  copy_.process().WaitForExit(5s);
  copy_.Start();
  EXPECT_TRUE(copy_.WaitUntilAnswering()) << copy_.log();
  EXPECT_EQ(copy_.Control({"--quit"}).first, 0);
}

}  // namespace
}  // namespace parlavox
