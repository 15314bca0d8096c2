// Calls of an intercom on fakes: recording into other users' inward folders.

#include "core/calls.h"

#include "core/intercom_bench_test_util.h"

namespace parlavox {
namespace {

class CallsTest : public IntercomBench {
 protected:
  void SetUp() override {
    Start();
    IdentityChange change;
    change.id = 4242;
    intercom_.ChangeIdentity(change);
  }

  std::optional<CallRefusal> StartCall(int index) {
    return Call([&](Intercom::CallDone done) { intercom_.StartCall(index, done); });
  }
};

TEST_F(CallsTest, ACallRecordsIntoTheCalleesFolderUntilItIsStopped) {
  ListUser("Ann", 101);
  settings_.WriteInt(kSettingsSection, "soundindevice", 3);
  settings_.WriteText(kSettingsSection, "soundindevicename", "usb-mic");
  settings_.WriteInt(kSettingsSection, "soundinchannel", 1);
  settings_.WriteDecibels(kSettingsSection, "soundinvolume", -6);

  EXPECT_EQ(StartCall(0), CallRefusal::kNone);
  EXPECT_EQ(share_.opened, std::vector<std::string>{"/srv/Ann/4242.wav"});
  EXPECT_TRUE(recorder_.is_recording());
  EXPECT_EQ(recorder_.device.position, 3);
  EXPECT_EQ(recorder_.device.name, "usb-mic");
  EXPECT_EQ(mixer_.selected, (std::vector<int>{3, 1}));
  EXPECT_EQ(recorder_.level, -6);
  EXPECT_TRUE(priority_.raised);
  EXPECT_EQ(view_.statuses.back(), "-> Ann");
  EXPECT_TRUE(view_.record_meter);
  recorder_.SendLevels(-9);
  EXPECT_EQ(view_.record_level, -9);
  EXPECT_TRUE(intercom_.Snapshot().recording);

  EXPECT_EQ(StartCall(0), CallRefusal::kNone);  // a second start during a call is ignored
  EXPECT_EQ(recorder_.starts, 1);

  intercom_.StopCall();
  EXPECT_FALSE(recorder_.is_recording());
  EXPECT_TRUE(share_.last_writer->finished);
  EXPECT_FALSE(priority_.raised);
  EXPECT_FALSE(view_.record_meter);
  intercom_.StopCall();  // harmless without a call
}

TEST_F(CallsTest, ACallThatCannotStartSaysWhy) {
  ListUser("Ann", 101, /*on=*/false);
  ListUser("Ben", 202, /*on=*/true, /*reachable=*/false);
  ListUser("Cy", 303);
  share_.still_playing.insert("/srv/Cy/4242.wav");

  EXPECT_EQ(StartCall(-1), CallRefusal::kNoUserSelected);
  EXPECT_EQ(StartCall(3), CallRefusal::kNoSuchUser);  // beyond the list, whatever is stored
  EXPECT_TRUE(view_.statuses.empty());
  EXPECT_EQ(StartCall(0), CallRefusal::kCalleeOff);
  EXPECT_EQ(view_.statuses.back(), "User's Parlavox is off");
  EXPECT_EQ(StartCall(1), CallRefusal::kUnreachable);
  EXPECT_EQ(view_.statuses.back(), "Unable to contact user's computer");
  EXPECT_TRUE(share_.opened.empty());  // nothing is written to either
  EXPECT_EQ(StartCall(2), CallRefusal::kPreviousMessagePlaying);
  EXPECT_EQ(view_.statuses.back(), RefusalText(CallRefusal::kPreviousMessagePlaying));
  share_.still_playing.clear();
  share_.read_only.insert("/srv/Cy");  // the folder is blamed, not the microphone
  EXPECT_EQ(StartCall(2), CallRefusal::kFolderNotWritable);
  EXPECT_EQ(view_.statuses.back(), "Unable to write into the user's inward folder");
  EXPECT_FALSE(recorder_.is_recording());  // what was recorded at the key goes nowhere
  EXPECT_FALSE(priority_.raised);
  EXPECT_FALSE(view_.record_meter);

  share_.read_only.clear();
  recorder_.refuse = true;
  const size_t statuses = view_.statuses.size();
  EXPECT_EQ(StartCall(2), CallRefusal::kRecorderFailed);
  EXPECT_EQ(view_.statuses.size(), statuses);  // no status text of its own
  EXPECT_TRUE(priority_.raised);               // until the end of the call is asked for
  intercom_.StopCall();
  EXPECT_FALSE(priority_.raised);
}

TEST_F(CallsTest, AMessageTakenAwayOrNotWrittenOrALostSoundServerEndsTheCallAndIsToldOfOnce) {
  ListUser("Ann", 101);
  EXPECT_EQ(StartCall(0), CallRefusal::kNone);
  share_.last_reports.taken_away();
  EXPECT_FALSE(recorder_.is_recording());
  EXPECT_FALSE(priority_.raised);
  EXPECT_EQ(view_.statuses.back(), "Your message was taken from the user's folder before it ended");

  EXPECT_EQ(StartCall(0), CallRefusal::kNone);
  recorder_.LoseDevice();
  EXPECT_FALSE(intercom_.Snapshot().recording);
  EXPECT_FALSE(priority_.raised);
  EXPECT_FALSE(view_.record_meter);
  EXPECT_EQ(view_.statuses.back(), "The sound server went away: your call ended");

  EXPECT_EQ(StartCall(0), CallRefusal::kNone);
  const size_t told = view_.statuses.size();
  share_.last_reports.finished(true);
  EXPECT_EQ(view_.statuses.size(), told);
  share_.last_reports.finished(false);  // the share failed while the sound was written
  EXPECT_EQ(view_.statuses.back(), "Your message could not be saved in the user's folder");
  intercom_.StopCall();
  const size_t ended = view_.statuses.size();
  share_.last_reports.taken_away();  // gone once the call had ended: heard, not taken
  EXPECT_EQ(view_.statuses.size(), ended);

  EXPECT_EQ(StartCall(0), CallRefusal::kNone);
  share_.last_reports.lost();  // the callee's disk is full: the rest would go unheard
  EXPECT_FALSE(recorder_.is_recording());
  EXPECT_EQ(view_.statuses.back(), "Your message could not be saved in the user's folder");
  const size_t lost = view_.statuses.size();
  share_.last_reports.finished(false);
  EXPECT_EQ(view_.statuses.size(), lost);
}

// The callee's share is slow to answer: what is said from the key on is not lost while
// the message file is opened, and a short press still leaves a message.
TEST_F(CallsTest, SpeechFromTheKeyOnReachesTheMessageWhateverTheShareTakes) {
  ListUser("Ann", 101);
  share_.hold_answers = true;
  std::optional<CallRefusal> outcome;
  intercom_.StartCall(0, [&](CallRefusal refusal) { outcome = refusal; });
  EXPECT_TRUE(recorder_.is_recording());
  EXPECT_TRUE(view_.record_meter);
  recorder_.Hear({1, 2, 3});
  share_.Answer();
  EXPECT_EQ(outcome, CallRefusal::kNone);
  EXPECT_EQ(view_.statuses.back(), "-> Ann");
  recorder_.Hear({4});
  EXPECT_EQ(share_.last_writer->samples, (std::vector<int32_t>{1, 2, 3, 4}));
  intercom_.StopCall();
  EXPECT_TRUE(share_.last_writer->finished);

  outcome.reset();
  intercom_.StartCall(0, [&](CallRefusal refusal) { outcome = refusal; });
  recorder_.Hear({5});
  intercom_.StopCall();  // released before the share answered
  EXPECT_FALSE(recorder_.is_recording());
  EXPECT_FALSE(priority_.raised);
  EXPECT_FALSE(outcome);
  share_.Answer();
  EXPECT_EQ(outcome, CallRefusal::kNone);
  EXPECT_EQ(share_.last_writer->samples, std::vector<int32_t>{5});
  EXPECT_TRUE(share_.last_writer->finished);
  EXPECT_FALSE(recorder_.is_recording());

  // Pressed again before the share answered: the second press holds the call.
  intercom_.StartCall(0);
  recorder_.Hear({6});
  intercom_.StopCall();
  intercom_.StartCall(0);
  recorder_.Hear({7});
  share_.Answer();
  EXPECT_TRUE(recorder_.is_recording());
  EXPECT_FALSE(share_.last_writer->finished);
  EXPECT_EQ(share_.last_writer->samples, (std::vector<int32_t>{6, 7}));
  intercom_.StopCall();

  // The sound server goes away while the file is opened: what came is kept, and the
  // status line says why the call ended.
  intercom_.StartCall(0);
  recorder_.Hear({8});
  recorder_.LoseDevice();
  share_.Answer();
  EXPECT_EQ(share_.last_writer->samples, std::vector<int32_t>{8});
  EXPECT_TRUE(share_.last_writer->finished);
  EXPECT_EQ(view_.statuses.back(), "The sound server went away: your call ended");

  // A short press whose call was refused leaves no stop behind for the next press.
  share_.read_only.insert("/srv/Ann");
  intercom_.StartCall(0);
  intercom_.StopCall();
  share_.Answer();
  share_.read_only.clear();
  intercom_.StartCall(0);
  share_.Answer();
  EXPECT_TRUE(recorder_.is_recording());
}

TEST_F(CallsTest, ReplyCallsTheLastCallerOrElseTheSelectedUser) {
  ListUser("Ann", 101);
  ListUser("Ben", 202);
  poller_.changed({});
  intercom_.Select(1);

  EXPECT_EQ(Call([&](Intercom::CallDone done) { intercom_.Reply(done); }), CallRefusal::kNone);
  EXPECT_EQ(share_.opened.back(), "/srv/Ben/4242.wav");  // nobody called yet
  EXPECT_EQ(view_.button, CallButton::kReply);
  intercom_.StopCall();
  EXPECT_EQ(view_.button, CallButton::kNone);

  Message(101);
  watcher_.changed();
  intercom_.Reply();
  EXPECT_EQ(share_.opened.back(), "/srv/Ann/4242.wav");
  intercom_.StopCall();

  player_.PlayToTheEnd();
  Message(999);  // a caller who is not listed
  clock_.Advance(std::chrono::milliseconds(200));
  intercom_.Reply();
  EXPECT_EQ(share_.opened.back(), "/srv/Ben/4242.wav");
  intercom_.StopCall();

  intercom_.CallSelected();
  EXPECT_EQ(view_.button, CallButton::kCall);
  intercom_.StopCall();
  intercom_.Select(-1);
  EXPECT_EQ(Call([&](Intercom::CallDone done) { intercom_.CallSelected(done); }),
            CallRefusal::kNoUserSelected);
  EXPECT_EQ(view_.button, CallButton::kNone);  // a refused call leaves the button up
}

}  // namespace
}  // namespace parlavox
