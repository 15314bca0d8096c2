// Runs the real parlavox executable in a home of its own and watches what it does
// through the file system and its command-line control.

#include <signal.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>

#include "app/child_process_test_util.h"
#include "app/profile_file.h"
#include "app/scratch_folder_test_util.h"
#include "app/user_record.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

template <typename Predicate>
bool Eventually(Predicate done, std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (std::chrono::steady_clock::now() < deadline) {
    if (done()) return true;
    std::this_thread::sleep_for(50ms);
  }
  return done();
}

class IntercomProcessTest : public testing::Test {
 protected:
  IntercomProcessTest() {
    std::filesystem::create_directories(home_);
    std::filesystem::create_directories(runtime_);
    std::filesystem::permissions(runtime_, std::filesystem::perms::owner_all);
  }

  std::vector<std::string> Environment() const {
    std::vector<std::string> environment = {"HOME=" + home_, "XDG_RUNTIME_DIR=" + runtime_,
                                            "XDG_CONFIG_DIRS=" + scratch_ / "etc",
                                            "PATH=/usr/bin:/bin", "QT_QPA_PLATFORM=offscreen"};
    for (const char* keep : {"ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS"}) {
      if (const char* value = getenv(keep)) environment.push_back(std::string(keep) + "=" + value);
    }
    return environment;
  }

  std::unique_ptr<ChildProcess> StartIntercom() {
    return std::make_unique<ChildProcess>(std::vector<std::string>{PARLAVOX_BINARY, "/service"},
                                          Environment(), "/dev/null", log_);
  }

  // Runs one control command to its end; returns its exit code and its output.
  std::pair<int, std::string> Control(const std::vector<std::string>& arguments) {
    std::vector<std::string> argv = {PARLAVOX_BINARY};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    const std::string output = scratch_ / "control.out";
    ChildProcess control(argv, Environment(), output, log_);
    const int code = control.WaitForExit(20s);
    return {code, FileText(output)};
  }

  QJsonObject Status() {
    const auto [code, output] = Control({"--status"});
    EXPECT_EQ(code, 0) << output;
    return QJsonDocument::fromJson(QByteArray::fromStdString(output)).object();
  }

  bool WaitUntilAnswering() {
    return Eventually([&] { return Control({"--status"}).first == 0; }, 10s);
  }

  std::string Cached(const std::string& key) const {
    return FindProfileString(settings_, "users", key).value_or("<missing>");
  }

  UserRecord OwnRecord() const {
    UserRecord record;
    ReadUserRecord(&record, inward_ + "/ParlavoxUserData");
    return record;
  }

  void PublishUser(const std::string& folder, const char* name, int32_t id, bool on) {
    UserRecord record;
    record.SetName(name);
    record.id = id;
    record.set_on(on);
    std::filesystem::create_directories(folder);
    ASSERT_TRUE(WriteUserRecord(record, folder + "/ParlavoxUserData"));
  }

  ScratchFolder scratch_;
  std::string home_ = scratch_ / "home";
  std::string runtime_ = scratch_ / "run";
  std::string log_ = scratch_ / "parlavox.log";
  std::string program_ = home_ + "/.local/share/parlavox";
  std::string settings_ = program_ + "/settings.ini";
  std::string inward_ = program_ + "/Incoming";
};

TEST_F(IntercomProcessTest, FirstStartPublishesItselfAndPollsTheOthers) {
  auto intercom = StartIntercom();
  ASSERT_TRUE(WaitUntilAnswering()) << FileText(log_);

  const UserRecord own = OwnRecord();
  EXPECT_TRUE(own.is_on());
  EXPECT_GE(own.id, 1);
  EXPECT_FALSE(own.Name().empty());

  PublishUser(scratch_ / "alice", "Alice", 101, true);
  PublishUser(scratch_ / "bob", "Bob", 202, false);
  WriteProfileString(settings_, "users", "folder0", scratch_ / "alice");
  WriteProfileString(settings_, "users", "folder1", scratch_ / "bob");
  WriteProfileString(settings_, "users", "folder2", scratch_ / "nobody");
  WriteProfileString(settings_, "users", "foldercount", "3");

  ASSERT_TRUE(Eventually([&] { return Cached("name1") == "Bob"; }, 6s)) << FileText(settings_);
  EXPECT_EQ(Cached("name0"), "Alice");
  EXPECT_EQ(Cached("on0"), "true");
  EXPECT_EQ(Cached("id0"), "101");
  EXPECT_EQ(Cached("on1"), "<missing>");  // off, as an unwritten key already reads
  EXPECT_EQ(Cached("id1"), "202");
  EXPECT_EQ(Cached("name2") + Cached("on2") + Cached("id2"), "<missing><missing><missing>");

  QJsonObject status;
  ASSERT_TRUE(Eventually(
      [&] {
        status = Status();
        return status["users"].toArray().size() == 3;
      },
      2s))
      << FileText(log_);
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
  ASSERT_TRUE(Eventually([&] { return Cached("on0") == "false"; }, 6s));
  EXPECT_EQ(Cached("name0"), "Alice");
  EXPECT_TRUE(
      Eventually([&] { return !Status()["users"].toArray()[0].toObject()["on"].toBool(); }, 2s));
  EXPECT_NE(FileText(log_).find("users: Alice (off), Bob (off), Pending Connection (off)"),
            std::string::npos)
      << FileText(log_);

  EXPECT_EQ(Control({"--quit"}).first, 0);
  EXPECT_EQ(intercom->WaitForExit(10s), 0);
}

TEST_F(IntercomProcessTest, EveryWayOfEndingPublishesTheIntercomAsOff) {
  for (const int ending : {0, SIGTERM, SIGINT}) {
    auto intercom = StartIntercom();
    ASSERT_TRUE(WaitUntilAnswering()) << FileText(log_);
    ASSERT_TRUE(OwnRecord().is_on());
    if (ending == 0) {
      EXPECT_EQ(Control({"--quit"}).first, 0);
    } else {
      intercom->Signal(ending);
    }
    EXPECT_EQ(intercom->WaitForExit(10s), 0) << "ending " << ending << "\n" << FileText(log_);
    EXPECT_FALSE(OwnRecord().is_on()) << "ending " << ending;
  }
}

TEST_F(IntercomProcessTest, ControlsTheRunningCopyAndKeepsOneCopyRunning) {
  EXPECT_EQ(Control({"--status"}).first, 1);
  EXPECT_EQ(Control({"--on"}).first, 1);
  ASSERT_EQ(Control({"--set-id", "4242"}).first, 0);  // works on the record without a copy
  EXPECT_EQ(OwnRecord().id, 4242);
  EXPECT_EQ(Control({"--set-id", "0"}).first, 2);
  EXPECT_EQ(Control({"--set-id", "12abc"}).first, 2);

  auto intercom = StartIntercom();
  ASSERT_TRUE(WaitUntilAnswering()) << FileText(log_);
  EXPECT_EQ(Status()["id"].toInt(), 4242);  // identity survives in the record file

  ASSERT_EQ(Control({"--off"}).first, 0);
  EXPECT_FALSE(OwnRecord().is_on());
  EXPECT_FALSE(Status()["on"].toBool());
  ASSERT_EQ(Control({"--on"}).first, 0);
  EXPECT_TRUE(OwnRecord().is_on());

  ASSERT_EQ(Control({"--set-name", "Dana Example"}).first, 0);
  ASSERT_EQ(Control({"--set-email", "dana@example.org"}).first, 0);
  EXPECT_EQ(OwnRecord().Name(), "Dana Example");
  EXPECT_EQ(OwnRecord().Email(), "dana@example.org");
  EXPECT_EQ(Status()["name"].toString(), "Dana Example");

  auto second = StartIntercom();
  EXPECT_EQ(second->WaitForExit(10s), 0);
  EXPECT_TRUE(intercom->running());
  EXPECT_TRUE(Eventually(
      [&] { return FileText(log_).find("asked to show itself") != std::string::npos; }, 5s));

  EXPECT_EQ(Control({"--status", "--on"}).first, 2);
  EXPECT_EQ(Control({"--quit"}).first, 0);
  EXPECT_EQ(intercom->WaitForExit(10s), 0);
}

}  // namespace
}  // namespace parlavox
