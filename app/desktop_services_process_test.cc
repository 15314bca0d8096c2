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

  void StartPortal(const std::vector<std::string>& options = {}) {
    std::vector<std::string> argv = {PARLAVOX_STAND_IN_SERVICES, control_};
    argv.insert(argv.end(), options.begin(), options.end());
    std::vector<std::string> environment = SanitizerEnvironment();
    environment.push_back(BusAddress());
    portal_ =
        std::make_unique<ChildProcess>(argv, environment, portal_said_, scratch_ / "portal.log");
    ASSERT_TRUE(Eventually([&] { return PortalSaid("ready"); }, 10s))
        << FileText(scratch_ / "portal.log");
  }

  void StartCopy() {
    copy_.Start();
    ASSERT_TRUE(copy_.WaitUntilAnswering()) << copy_.log();
  }

  bool PortalSaid(const std::string& line) const {
    return FileText(portal_said_).find(line + "\n") != std::string::npos;
  }

  void TellPortal(const std::string& command) const {
    // Without waiting: a stand-in that has ended fails the test instead of hanging it.
    const int fifo = open(control_.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    ASSERT_GE(fifo, 0) << "the stand-in portal has ended: " << FileText(scratch_ / "portal.log");
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
    TellPortal("vanish");
    ASSERT_EQ(portal_->WaitForExit(5s), 0);
    StartPortal(options);
  }

  std::string Message() const { return ann_ + "/" + std::to_string(copy_.OwnRecord().id) + ".wav"; }
  int64_t MessageSize() const {
    std::error_code error;
    const auto size = std::filesystem::file_size(Message(), error);
    return error ? -1 : int64_t(size);
  }

  bool Recording() const { return copy_.Status()["recording"].toBool(); }

  // Whether the copy's log (its status texts among them) says `text` within `limit`.
  bool LogSays(const std::string& text, std::chrono::milliseconds limit) const {
    return Eventually([&] { return copy_.log().find(text) != std::string::npos; }, limit);
  }

  void WaitForBinding() {
    ASSERT_TRUE(
        Eventually([&] { return PortalSaid("bind key1|Turn Parlavox Off|CTRL+ALT+F10"); }, 10s))
        << FileText(portal_said_) << copy_.log();
  }

  ScratchFolder scratch_;
  std::string bus_socket_ = scratch_ / "bus";
  std::string control_ = scratch_ / "portal.control";
  std::string portal_said_ = scratch_ / "portal.out";
  std::string ann_ = scratch_ / "ann";
  std::unique_ptr<ChildProcess> bus_;
  std::unique_ptr<ChildProcess> portal_;
  PrivateSoundServer server_{false};
  IntercomCopy copy_{scratch_ / "me", server_.address()};
};

TEST_F(DesktopServicesTest,
       KeysAreBoundAndAnActivatedShortcutTalksUntilItIsDeactivatedOrThePortalGoes) {
  StartPortal();
  StartCopy();
  WaitForBinding();
  EXPECT_TRUE(PortalSaid("bind key0|Call: Ann|CTRL+ALT+F9")) << FileText(portal_said_);

  TellPortal("activate key0");
  ASSERT_TRUE(Eventually([&] { return MessageSize() > 46 + 441 * 2; }, 5s)) << copy_.log();
  std::this_thread::sleep_for(1500ms);  // twice the hold time: the repeats keep the call
  EXPECT_TRUE(Recording());
  const int64_t before = MessageSize();
  const auto released = std::chrono::steady_clock::now();
  TellPortal("deactivate key0");
  ASSERT_TRUE(Eventually([&] { return !Recording(); }, 5s));
  const auto ended = std::chrono::steady_clock::now() - released;
  EXPECT_GE(ended, 500ms);  // about 0.7 s after the last repeat
  EXPECT_LT(ended, 3s);
  EXPECT_GT(MessageSize(), before);
  std::filesystem::remove(Message());

  TellPortal("activate key1");  // "Turn Parlavox Off"
  TellPortal("deactivate key1");
  EXPECT_TRUE(Eventually([&] { return !copy_.OwnRecord().is_on(); }, 5s));

  // The portal leaves the bus in the middle of a call: the call ends whole.
  TellPortal("activate key0");
  ASSERT_TRUE(Eventually([&] { return MessageSize() > 46 + 441 * 2; }, 5s)) << copy_.log();
  TellPortal("vanish");
  ASSERT_TRUE(Eventually([&] { return !Recording(); }, 5s));
  EXPECT_TRUE(LogSays("No hot keys: the desktop portal has gone", 5s)) << copy_.log();
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
  StartPortal();
  StartCopy();
  const auto inhibitors = [&] {
    const std::string said = FileText(portal_said_);
    int count = 0;
    for (size_t at = 0; (at = said.find("inhibit sleep|Parlavox|delay\n", at)) != said.npos; ++at) {
      ++count;
    }
    return count;
  };
  ASSERT_TRUE(Eventually([&] { return inhibitors() == 1; }, 10s)) << FileText(portal_said_);
  ASSERT_EQ(copy_.Control({"--call", "0"}).first, 0);
  ASSERT_TRUE(Eventually([&] { return MessageSize() > 46; }, 5s)) << copy_.log();
  TellPortal("sleep");
  ASSERT_TRUE(Eventually([&] { return PortalSaid("slept, inhibitors let go"); }, 10s))
      << FileText(portal_said_) << copy_.log();
  EXPECT_FALSE(copy_.OwnRecord().is_on());  // written before the machine could sleep
  EXPECT_TRUE(Eventually([&] { return IsFinishedMessage(FileText(Message())); }, 5s));
  TellPortal("wake");
  EXPECT_TRUE(Eventually([&] { return copy_.OwnRecord().is_on(); }, 5s));
  EXPECT_TRUE(Eventually([&] { return inhibitors() == 2; }, 5s)) << FileText(portal_said_);
}

TEST_F(DesktopServicesTest, APortalThatNeverAnswersRefusesOrHasNoShortcutsLeavesTheProgramRunning) {
  StartPortal({"--mute"});
  const auto started = std::chrono::steady_clock::now();
  StartCopy();
  ASSERT_TRUE(
      Eventually([&] { return FileText(portal_said_).find("session /") != std::string::npos; }, 5s))
      << FileText(portal_said_);
  ASSERT_TRUE(LogSays("No hot keys: the desktop portal did not answer", 15s)) << copy_.log();
  EXPECT_GE(std::chrono::steady_clock::now() - started,
            4500ms);                                            // coarse timers fire a little early
  EXPECT_FALSE(PortalSaid("bind key0|Call: Ann|CTRL+ALT+F9"));  // nothing bound without a session
  EXPECT_EQ(copy_.Control({"--status"}).first, 0);
  QuitCopy();
  ReplacePortal({"--refuse-bind"});

  StartCopy();
  WaitForBinding();
  EXPECT_TRUE(LogSays("No hot keys: the desktop did not bind the shortcuts", 5s)) << copy_.log();
  QuitCopy();
  EXPECT_TRUE(PortalSaid("closed")) << FileText(portal_said_);  // the session, on the way out
  ReplacePortal({"--without-shortcuts"});

  // A desktop whose portal has no global shortcuts is as one without a portal.
  StartCopy();
  EXPECT_TRUE(LogSays("No hot keys: the desktop offers no shortcuts portal", 5s)) << copy_.log();
}

}  // namespace
}  // namespace parlavox
