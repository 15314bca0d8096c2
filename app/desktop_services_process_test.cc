// The desktop's services over D-Bus: hot keys through the desktop portal's global
// shortcuts, as on a Wayland desktop, and the machine's sleep as logind announces it.
// The real program runs on a bus of the test's own (as its session bus and its system
// bus), where a stand-in (parlavox_stand_in_services) takes the desktop's place.

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "app/intercom_copy_test_util.h"
#include "audio/sound_server_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

class DesktopServicesTest : public testing::Test {
 protected:
  DesktopServicesTest() {
    bus_ = std::make_unique<ChildProcess>(
        std::vector<std::string>{"/usr/bin/dbus-daemon", "--session", "--nofork", "--nopidfile",
                                 "--address=unix:path=" + bus_socket_},
        std::vector<std::string>{"PATH=/usr/bin:/bin"}, "/dev/null", scratch_ / "bus.log");
    EXPECT_TRUE(Eventually([&] { return std::filesystem::exists(bus_socket_); }, 10s));
    EXPECT_EQ(mkfifo(control_.c_str(), 0600), 0);

    EXPECT_TRUE(PublishUser(ann_, "Ann", 101, true));
    copy_.Set("users", "folder0", ann_);
    copy_.Set("users", "foldercount", "1");
    copy_.Set("users", "name0", "Ann");  // known from an earlier run: the description names her
    // Ctrl+Alt+F9 calls Ann, Ctrl+Alt+F10 turns the intercom off.
    copy_.SetHotKeys({{120, 3, 32}, {121, 3, 6}});
    copy_.AddEnvironment(BusAddress());
    copy_.AddEnvironment("DBUS_SYSTEM_BUS_ADDRESS=unix:path=" + bus_socket_);
    copy_.AddEnvironment("XDG_SESSION_TYPE=wayland");
  }

  ~DesktopServicesTest() override {
    if (copy_.process_started() && copy_.process().running()) QuitCopy();
  }

  std::string BusAddress() const { return "DBUS_SESSION_BUS_ADDRESS=unix:path=" + bus_socket_; }

  void StartStandIn(const std::vector<std::string>& options = {}) {
    std::vector<std::string> argv = {PARLAVOX_STAND_IN_SERVICES, control_};
    argv.insert(argv.end(), options.begin(), options.end());
    std::vector<std::string> environment = SanitizerEnvironment();
    environment.push_back(BusAddress());
    stand_in_ = std::make_unique<ChildProcess>(argv, environment, stand_in_said_,
                                               scratch_ / "stand-in.log");
    ASSERT_TRUE(Eventually([&] { return StandInSaid("ready"); }, 10s))
        << FileText(scratch_ / "stand-in.log");
  }

  void StartCopy() {
    copy_.Start();
    ASSERT_TRUE(copy_.WaitUntilAnswering()) << copy_.log();
  }

  bool StandInSaid(const std::string& line) const {
    return FileText(stand_in_said_).find(line + "\n") != std::string::npos;
  }

  void TellStandIn(const std::string& command) const {
    // Without waiting: a stand-in that has ended fails the test instead of hanging it.
    const int fifo = open(control_.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(fifo, 0) << "the stand-in has ended: " << FileText(scratch_ / "stand-in.log");
    const std::string line = command + "\n";
    EXPECT_EQ(write(fifo, line.data(), line.size()), ssize_t(line.size()));
    close(fifo);
  }

  // Ends the copy, which must end cleanly.
  void QuitCopy() {
    copy_.Control({"--quit"});
    ASSERT_EQ(copy_.process().WaitForExit(10s), 0) << copy_.log();
  }

  // The portal leaves the bus and another takes its place.
  void ReplacePortal(const std::vector<std::string>& options) {
    TellStandIn("vanish");
    ASSERT_EQ(stand_in_->WaitForExit(5s), 0);
    StartStandIn(options);
  }

  std::string Message() const { return ann_ + "/" + std::to_string(copy_.OwnRecord().id) + ".wav"; }
  int64_t MessageSize() const {
    std::error_code error;
    const auto size = std::filesystem::file_size(Message(), error);
    return error ? -1 : int64_t(size);
  }

  bool Recording() const { return copy_.Status()["recording"].toBool(); }

  // Whether the copy's log (its status texts among them) says `text` within `limit`.
  // Whether the copy's log says `text` within 15 s: the program answers at once, but a
  // busy machine running it under ThreadSanitizer has held it up for more than 5 s.
  bool LogSays(const std::string& text) const {
    return Eventually([&] { return copy_.log().find(text) != std::string::npos; }, 15s);
  }

  void WaitForBinding() {
    ASSERT_TRUE(
        Eventually([&] { return StandInSaid("bind key1|Turn Parlavox Off|CTRL+ALT+F10"); }, 10s))
        << FileText(stand_in_said_) << copy_.log();
  }

  ScratchFolder scratch_;
  std::string bus_socket_ = scratch_ / "bus";
  std::string control_ = scratch_ / "stand-in.control";
  std::string stand_in_said_ = scratch_ / "stand-in.out";
  std::string ann_ = scratch_ / "ann";
  std::unique_ptr<ChildProcess> bus_;
  std::unique_ptr<ChildProcess> stand_in_;
  PrivateSoundServer server_{false};
  IntercomCopy copy_{scratch_ / "me", server_.address()};
};

TEST_F(DesktopServicesTest,
       KeysAreBoundAndAnActivatedShortcutTalksUntilItIsDeactivatedOrThePortalGoes) {
  StartStandIn();
  StartCopy();
  WaitForBinding();
  EXPECT_TRUE(StandInSaid("bind key0|Call: Ann|CTRL+ALT+F9")) << FileText(stand_in_said_);

  TellStandIn("activate key0");
  ASSERT_TRUE(Eventually([&] { return MessageSize() > 46 + 441 * 2; }, 5s)) << copy_.log();
  std::this_thread::sleep_for(1500ms);  // twice the hold time: the repeats keep the call
  EXPECT_TRUE(Recording());
  const int64_t before = MessageSize();
  const auto released = std::chrono::steady_clock::now();
  TellStandIn("deactivate key0");
  ASSERT_TRUE(Eventually([&] { return !Recording(); }, 5s));
  const auto ended = std::chrono::steady_clock::now() - released;
  EXPECT_GE(ended, 500ms);  // about 0.7 s after the last repeat
  EXPECT_LT(ended, 3s);
  EXPECT_GT(MessageSize(), before);
  std::filesystem::remove(Message());

  TellStandIn("activate key1");  // "Turn Parlavox Off"
  TellStandIn("deactivate key1");
  EXPECT_TRUE(Eventually([&] { return !copy_.OwnRecord().is_on(); }, 5s));

  // The portal leaves the bus in the middle of a call: the call ends whole.
  TellStandIn("activate key0");
  ASSERT_TRUE(Eventually([&] { return MessageSize() > 46 + 441 * 2; }, 5s)) << copy_.log();
  TellStandIn("vanish");
  ASSERT_TRUE(Eventually([&] { return !Recording(); }, 5s));
  EXPECT_TRUE(LogSays("No hot keys: the desktop portal has gone")) << copy_.log();
  const std::string bytes = FileText(Message());
  EXPECT_GT(bytes.size(), 46u);
  EXPECT_TRUE(IsFinishedMessage(bytes)) << bytes.size() << " bytes";
  EXPECT_EQ(copy_.Control({"--status"}).first, 0);  // still running, without hot keys
}

// Each start of the program meets a portal that fails it in another way; the program
// runs on without hot keys and says why.
// The machine goes to sleep during a call: colleagues see the intercom off before it may
// sleep, the call ends whole, and once it woke the intercom is on again and holds the
// next sleep back in turn.
TEST_F(DesktopServicesTest, WhileTheMachineSleepsColleaguesSeeTheIntercomOff) {
  StartStandIn();
  StartCopy();
  const auto inhibitors = [&] {
    const std::string said = FileText(stand_in_said_);
    int count = 0;
    for (size_t at = 0; (at = said.find("inhibit sleep|Parlavox|delay\n", at)) != said.npos; ++at) {
      ++count;
    }
    return count;
  };
  ASSERT_TRUE(Eventually([&] { return inhibitors() == 1; }, 10s)) << FileText(stand_in_said_);
  ASSERT_EQ(copy_.Control({"--call", "0"}).first, 0);
  ASSERT_TRUE(Eventually([&] { return MessageSize() > 46; }, 5s)) << copy_.log();
  TellStandIn("sleep");
  ASSERT_TRUE(Eventually([&] { return StandInSaid("slept, inhibitors let go"); }, 10s))
      << FileText(stand_in_said_) << copy_.log();
  EXPECT_FALSE(copy_.OwnRecord().is_on());  // written before the machine could sleep
  EXPECT_TRUE(Eventually([&] { return IsFinishedMessage(FileText(Message())); }, 5s));
  TellStandIn("wake");
  EXPECT_TRUE(Eventually([&] { return copy_.OwnRecord().is_on(); }, 5s));
  EXPECT_TRUE(Eventually([&] { return inhibitors() == 2; }, 5s)) << FileText(stand_in_said_);
}

TEST_F(DesktopServicesTest, APortalThatNeverAnswersRefusesOrHasNoShortcutsLeavesTheProgramRunning) {
  StartStandIn({"--mute"});
  const auto started = std::chrono::steady_clock::now();
  StartCopy();
  ASSERT_TRUE(Eventually(
      [&] { return FileText(stand_in_said_).find("session /") != std::string::npos; }, 5s))
      << FileText(stand_in_said_);
  ASSERT_TRUE(LogSays("No hot keys: the desktop portal did not answer")) << copy_.log();
  EXPECT_GE(std::chrono::steady_clock::now() - started,
            4500ms);  // coarse timers fire a little early
  EXPECT_FALSE(StandInSaid("bind key0|Call: Ann|CTRL+ALT+F9"));  // nothing bound without a session
  EXPECT_EQ(copy_.Control({"--status"}).first, 0);
  QuitCopy();
  ReplacePortal({"--refuse-bind"});

  StartCopy();
  WaitForBinding();
  EXPECT_TRUE(LogSays("No hot keys: the desktop did not bind the shortcuts")) << copy_.log();
  QuitCopy();
  EXPECT_TRUE(StandInSaid("closed")) << FileText(stand_in_said_);  // the session, on the way out
  ReplacePortal({"--without-shortcuts"});

  // A desktop whose portal has no global shortcuts is as one without a portal.
  StartCopy();
  EXPECT_TRUE(LogSays("No hot keys: the desktop offers no shortcuts portal")) << copy_.log();
}

}  // namespace
}  // namespace parlavox
