// The intercom as a whole, on fakes: start, on and off, full duplex, the end.

#include "core/intercom.h"

#include "core/hot_key_binder.h"
#include "core/intercom_bench_test_util.h"
#include "util/paths.h"
#include "words/server_trouble.h"

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
  EXPECT_TRUE(view_.users[0].reached);
  poller_.changed({0});  // her folder could not be read: shown so, her name kept
  EXPECT_FALSE(view_.users[0].reached);
  EXPECT_EQ(view_.users[0].name, "Ann");

  clock_.Advance(800ms);
  EXPECT_EQ(view_.idle_texts, std::vector<std::string>{"first idle"});

  // The inward folder goes, and is made again without the record in it.
  std::filesystem::remove_all(settings_.inward_folder());
  watcher_.usable(false);
  EXPECT_TRUE(view_.statuses.back().starts_with("Nobody can call you")) << view_.statuses.back();
  std::filesystem::create_directories(settings_.inward_folder());
  watcher_.usable(true);
  EXPECT_TRUE(Published().is_on());
  EXPECT_EQ(Published().id, own.id);
  EXPECT_EQ(view_.statuses.back(), "Your inward folder is back: others can call you again");

  Message(5);
  Message(6);
  watcher_.changed();
  ASSERT_TRUE(player_.is_open());
  intercom_.End();
  EXPECT_FALSE(Published().is_on());
  EXPECT_EQ(Published().id, own.id);
  EXPECT_FALSE(poller_.polling);
  EXPECT_TRUE(watcher_.watching.empty());
  EXPECT_FALSE(player_.is_open());    // the message playing ends with it
  EXPECT_TRUE(folder_.held.empty());  // and the one waiting is let go
}

TEST_F(IntercomTest, IdentitySurvivesInTheRecordFile) {
  Start();
  IdentityChange change;
  change.name = "Dana";
  change.id = 77;
  change.email = "dana@example.org";
  intercom_.ChangeIdentity(change);
  EXPECT_EQ(Published().Name(), "Dana");
  intercom_.ChangeIdentity({.name = " "});  // a blank name: colleagues would see nobody
  EXPECT_EQ(Published().Name(), "Dana");
  intercom_.End();

  FakeClock clock;
  Intercom again(
      settings_,
      {clock, player_, recorder_, mixer_, priority_, folder_, records_, share_, watcher_, poller_},
      view_, {});
  again.Start();
  EXPECT_EQ(again.Snapshot().own.id, 77);
  EXPECT_EQ(again.Snapshot().own.Email(), "dana@example.org");
  again.End();
}

// The inward folder is on a server that is away at the start (a laptop's network comes
// up after the login): the record made up meanwhile stands in only until the folder is
// back, where the person's own is found and kept, with what was changed meanwhile.
TEST_F(IntercomTest, AnIdentityOutOfReachAtTheStartIsFoundOnceTheFolderIsBack) {
  const std::string folder = settings_.inward_folder(), away = folder + ".away";
  ASSERT_TRUE(
      WriteUserRecord(MakeUserRecord("Dana", 77, false), JoinPath(folder, kUserRecordFileName)));
  std::filesystem::rename(folder, away);
  Start();
  EXPECT_NE(intercom_.Snapshot().own.id, 77);
  IdentityChange change;
  change.email = "dana@example.org";
  intercom_.ChangeIdentity(change);
  std::filesystem::rename(away, folder);
  watcher_.usable(true);
  const UserRecord published = Published();
  EXPECT_EQ(published.id, 77);
  EXPECT_EQ(published.Name(), "Dana");
  EXPECT_EQ(published.Email(), "dana@example.org");
  EXPECT_TRUE(published.is_on());
  EXPECT_EQ(intercom_.Snapshot().own.id, 77);
}

TEST_F(IntercomTest, OffOnlyChangesWhatOthersSeeAndCallsAndMessagesGoOnSideBySide) {
  ListUser("Ann", 101);
  Start();
  intercom_.TurnOff();
  EXPECT_FALSE(Published().is_on());
  EXPECT_EQ(view_.on, false);
  Message(101);
  watcher_.changed();
  EXPECT_EQ(player_.plays, 1);  // messages still play
  EXPECT_EQ(Call([&](Intercom::CallDone done) { intercom_.StartCall(0, done); }),
            CallRefusal::kNone);  // and calls still go out, also while one plays
  player_.PlayToTheEnd();
  Message(101);  // and one that arrives during the call plays at once
  watcher_.changed();
  EXPECT_EQ(player_.plays, 2);
  const IntercomSnapshot snapshot = intercom_.Snapshot();
  EXPECT_TRUE(snapshot.recording);
  EXPECT_TRUE(snapshot.playing);
  EXPECT_EQ(snapshot.status, "<- Ann");  // the newer status text
  intercom_.TurnOn();
  EXPECT_TRUE(Published().is_on());
}

TEST_F(IntercomTest, WhileTheSettingsAreOpenOrTheMachineSleepsOthersSeeThisUserOff) {
  Start();
  intercom_.BeginSettings();
  EXPECT_FALSE(Published().is_on());
  EXPECT_TRUE(watcher_.watching.empty());
  EXPECT_FALSE(poller_.polling);
  Message(101);  // arrives meanwhile
  // The inward folder moved: the record goes with it.
  const std::string moved = scratch_ / "moved";
  std::filesystem::create_directories(moved);
  settings_.SetInwardFolder(folders_, moved, true);
  intercom_.EndSettings();
  EXPECT_TRUE(Published().is_on());
  EXPECT_EQ(watcher_.watching, moved);
  EXPECT_TRUE(poller_.polling);
  EXPECT_TRUE(folder_.messages.empty());  // thrown away unheard

  intercom_.TurnOff();  // off before: off after
  intercom_.BeginSettings();
  intercom_.EndSettings();
  EXPECT_FALSE(Published().is_on());
  // Turned on or off meanwhile (from the command line), it stays off to others until
  // the sheet closes, and then is as it was last asked to be.
  intercom_.BeginSettings();
  intercom_.TurnOn();
  EXPECT_FALSE(Published().is_on());
  intercom_.EndSettings();
  EXPECT_TRUE(Published().is_on());
  intercom_.BeginSettings();
  intercom_.TurnOff();
  intercom_.EndSettings();
  EXPECT_FALSE(Published().is_on());

  // The machine sleeps, a call running: the call ends, and others see the user off until
  // it wakes, then as before; so too where the sheet was open meanwhile.
  ListUser("Ann", 101);
  intercom_.TurnOn();
  ASSERT_EQ(Call([&](Intercom::CallDone done) { intercom_.StartCall(0, done); }),
            CallRefusal::kNone);
  intercom_.GoToSleep();
  EXPECT_FALSE(recorder_.is_recording());
  EXPECT_FALSE(Published().is_on());
  intercom_.GoToSleep();  // told twice
  // It wakes before its network: the record is written once the folder can be reached.
  const std::string folder = settings_.inward_folder(), away = folder + ".away";
  std::filesystem::rename(folder, away);
  intercom_.WakeUp();
  std::filesystem::rename(away, folder);
  EXPECT_FALSE(Published().is_on());
  clock_.Advance(Intercom::kPublishAgainAfter);
  EXPECT_TRUE(Published().is_on());
  intercom_.WakeUp();  // woken twice: nothing
  intercom_.BeginSettings();
  intercom_.GoToSleep();
  intercom_.WakeUp();
  EXPECT_FALSE(Published().is_on());
  intercom_.EndSettings();
  EXPECT_TRUE(Published().is_on());
  intercom_.TurnOff();
  intercom_.GoToSleep();
  intercom_.WakeUp();
  EXPECT_FALSE(Published().is_on());
}

// A server's troubles are said on the status line; one that refused the account also
// asks the person for another, once a run for each server.
TEST_F(IntercomTest, AServerThatRefusesAsksForAnAccountOncePerServer) {
  Start();
  poller_.trouble("Server nas does not answer");
  poller_.trouble(RefusalSentence("fileserver", "", "give it a user name and password"));
  poller_.trouble(RefusalSentence("fileserver", "anna", "wrong user name or password"));
  poller_.trouble(RefusalSentence("backup", "anna", "wrong user name or password"));
  EXPECT_EQ(view_.asked_for_account, (std::vector<std::string>{"fileserver", "backup"}));
  EXPECT_EQ(view_.statuses.back(),
            "Server backup refused the account \"anna\": wrong user name or password");
}

TEST_F(IntercomTest, AHotKeyCallLastsWhileTheHotKeyKeepsFiring) {
  ListUser("Ann", 101);
  ListUser("Ben", 202);
  Start();
  intercom_.HotKey(33);  // "Call: Ben"
  EXPECT_EQ(share_.opened.size(), 1u);
  EXPECT_EQ(share_.opened[0].substr(0, 9), "/srv/Ben/");
  EXPECT_EQ(view_.activations_taken, 1);
  for (int repeat = 0; repeat < 20; ++repeat) {  // the keyboard repeats while held
    clock_.Advance(33ms);
    intercom_.HotKey(33);
  }
  EXPECT_TRUE(recorder_.is_recording());
  EXPECT_EQ(view_.activations_taken, 1);  // the window that had it is remembered once
  clock_.Advance(699ms);
  EXPECT_TRUE(recorder_.is_recording());
  clock_.Advance(1ms);
  EXPECT_FALSE(recorder_.is_recording());
  EXPECT_EQ(view_.activations_given, 1);
  EXPECT_EQ(recorder_.starts, 1);

  intercom_.Select(1);
  for (const int32_t command : {32, 3, 4}) {  // "Call: Ann", the selected user, Reply
    intercom_.HotKey(command);
    clock_.Advance(700ms);
  }
  ASSERT_EQ(share_.opened.size(), 4u);
  EXPECT_EQ(share_.opened[1].substr(0, 9), "/srv/Ann/");
  EXPECT_EQ(share_.opened[2].substr(0, 9), "/srv/Ben/");
  EXPECT_EQ(share_.opened[3].substr(0, 9), "/srv/Ben/");  // nobody called: the selected

  intercom_.HotKey(34);  // a user no longer in the list
  intercom_.HotKey(0);
  intercom_.HotKey(7);
  intercom_.HotKey(31);
  intercom_.HotKey(-1);
  EXPECT_EQ(share_.opened.size(), 4u);
  EXPECT_EQ(view_.activations_taken, 4);

  intercom_.HotKey(6);
  EXPECT_FALSE(Published().is_on());
  intercom_.HotKey(5);
  EXPECT_TRUE(Published().is_on());
  intercom_.HotKey(2);
  intercom_.HotKey(1);
  EXPECT_EQ(view_.hidden, 1);
  EXPECT_EQ(view_.shown, 1);
}

// The "keys" section's keys are bound under their places and fire their commands; they
// are let go of before a changed list is bound anew, or the old keys would stay taken.
TEST_F(IntercomTest, HotKeysAreBoundUnderTheirPlacesAndLetGoBeforeTheyAreBoundAnew) {
  struct FakeHotKeys : HotKeySystem {
    bool Register(int id, uint32_t modifiers, uint32_t key, const std::string& text) override {
      asked[id] = std::to_string(modifiers) + "+" + std::to_string(key) + " " + text;
      return key != 0x7B;  // another program holds F12
    }
    void Unregister(int id) override { EXPECT_EQ(asked.erase(id), 1u) << id; }
    void SetListener(Fired fired) override { this->fired = std::move(fired); }
    std::map<int, std::string> asked;  // what is bound, or was asked for in vain
    Fired fired;
  } system;
  ListUser("Ann", 101);
  KeyAssignments keys(settings_, users_);
  keys.SetCount(2);
  keys.SetKey(0, 0x74, 2);  // Ctrl+F5
  keys.SetCommand(0, 32);
  keys.SetKey(1, 0x7B, 0);  // F12
  keys.SetCommand(1, 6);
  HotKeyBinder binder(system, keys, intercom_);
  Start();
  EXPECT_EQ(binder.Register(), 1);
  EXPECT_EQ(system.asked,
            (std::map<int, std::string>{{0, "2+116 Call: Ann"}, {1, "0+123 Turn Parlavox Off"}}));
  system.fired(1, 0x7B);
  EXPECT_FALSE(Published().is_on());

  keys.SetCount(1);
  binder.Unregister();
  EXPECT_TRUE(system.asked.empty());
  EXPECT_EQ(binder.Register(), 1);
  EXPECT_EQ(system.asked.size(), 1u);
}

}  // namespace
}  // namespace parlavox
