// The intercom as a whole, on fakes: start, on and off, full duplex, the end.

#include "app/intercom.h"

#include "app/intercom_bench_test_util.h"
#include "app/paths.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

class IntercomTest : public IntercomBench {
 protected:
  UserRecord Published() const {
    UserRecord record;
    EXPECT_TRUE(ReadUserRecord(&record, JoinPath(settings_.inward_folder(), kUserRecordFileName)));
    return record;
  }
};

TEST_F(IntercomTest, StartPublishesTheIntercomOnAndTheEndPublishesItOff) {
  ListUser("Ann", 101);
  Start();
  const UserRecord own = Published();
  EXPECT_TRUE(own.is_on());
  EXPECT_GE(own.id, 1);
  EXPECT_FALSE(own.Name().empty());  // the account's name
  EXPECT_EQ(view_.on, true);
  EXPECT_TRUE(poller_.polling);
  ASSERT_EQ(view_.users.size(), 1u);
  EXPECT_EQ(view_.users[0].name, "Ann");

  clock_.Advance(800ms);
  EXPECT_EQ(view_.idle_texts, std::vector<std::string>{"first idle"});

  intercom_.End();
  EXPECT_FALSE(Published().is_on());
  EXPECT_EQ(Published().id, own.id);
  EXPECT_FALSE(poller_.polling);
  EXPECT_TRUE(watcher_.watching.empty());
}

TEST_F(IntercomTest, IdentitySurvivesInTheRecordFile) {
  Start();
  intercom_.ChangeIdentity({.name = "Dana", .id = 77, .email = "dana@example.org"});
  EXPECT_EQ(Published().Name(), "Dana");
  intercom_.End();

  FakeClock clock;
  Intercom again(settings_,
                 {clock, player_, recorder_, mixer_, priority_, folder_, share_, watcher_, poller_},
                 view_, {});
  again.Start();
  EXPECT_EQ(again.Snapshot().own.id, 77);
  EXPECT_EQ(again.Snapshot().own.Email(), "dana@example.org");
  again.End();
}

TEST_F(IntercomTest, OffOnlyChangesWhatOthersSee) {
  ListUser("Ann", 101);
  Start();
  intercom_.TurnOff();
  EXPECT_FALSE(Published().is_on());
  EXPECT_EQ(view_.on, false);
  Message(101);
  watcher_.changed();
  EXPECT_EQ(player_.plays, 1);  // messages still play
  EXPECT_EQ(Call([&](Intercom::CallDone done) { intercom_.StartCall(0, done); }),
            CallRefusal::kNone);  // and calls still go out
  intercom_.TurnOn();
  EXPECT_TRUE(Published().is_on());
}

TEST_F(IntercomTest, AMessageThatArrivesDuringACallPlaysAtOnce) {
  ListUser("Ann", 101);
  Start();
  intercom_.StartCall(0);
  Message(101);
  watcher_.changed();
  EXPECT_TRUE(recorder_.is_recording());
  EXPECT_EQ(player_.plays, 1);
  const IntercomSnapshot snapshot = intercom_.Snapshot();
  EXPECT_TRUE(snapshot.recording);
  EXPECT_TRUE(snapshot.playing);
  EXPECT_EQ(snapshot.status, "<- Ann");  // the newer status text
}

}  // namespace
}  // namespace parlavox
