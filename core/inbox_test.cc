// The inbox of an intercom on fakes: messages arriving in the inward folder.

#include "core/inbox.h"

#include "core/intercom_bench_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

using InboxTest = IntercomBench;

TEST_F(InboxTest, ThrowsAwayWhatWaitedBeforeTheStartAndPlaysMessagesInTurnEachAfterALeadIn) {
  settings_.WriteInt(kSettingsSection, "soundoutdevice", 2);
  settings_.WriteDecibels(kSettingsSection, "soundoutvolume", -6);
  Message(100);
  Start();
  EXPECT_TRUE(folder_.messages.empty());
  EXPECT_EQ(player_.plays, 0);
  EXPECT_EQ(watcher_.watching, settings_.inward_folder());
  Message(101);
  watcher_.changed();
  EXPECT_EQ(player_.plays, 1);
  EXPECT_EQ(player_.started_at, -1653);  // 0.15 s of silence at 11025 Hz
  EXPECT_EQ(player_.device.position, 2);
  EXPECT_EQ(player_.device.name, "");  // a setting written by a copy that keeps no names
  EXPECT_EQ(player_.level, -6);        // the level set when the message starts
  EXPECT_TRUE(view_.playback_meter);
  EXPECT_EQ(intercom_.Snapshot().previous_caller, 101);

  Message(102, 1, 8000);  // arrives while the first plays: it waits its turn, held
  watcher_.changed();
  EXPECT_EQ(player_.plays, 1);
  EXPECT_EQ(folder_.held, (std::set<std::string>{"101.wav", "102.wav"}));

  player_.PlayToTheEnd();
  EXPECT_EQ(folder_.removed, std::vector<std::string>{"101.wav"});
  EXPECT_FALSE(view_.playback_meter);
  clock_.Advance(199ms);
  EXPECT_EQ(player_.plays, 1);
  clock_.Advance(1ms);
  EXPECT_EQ(player_.plays, 2);
  EXPECT_EQ(player_.started_at, -1200);  // 0.15 s at 8000 Hz
  EXPECT_EQ(intercom_.Snapshot().previous_caller, 102);
}

TEST_F(InboxTest, AnnouncesListedCallersAndRemembersEveryCaller) {
  ListUser("Ann", 101);
  Start();
  Message(101);
  watcher_.changed();
  EXPECT_EQ(view_.statuses, std::vector<std::string>{"<- Ann"});

  player_.PlayToTheEnd();
  folder_.Add("hello.wav", std::make_shared<MemoryReader>(11025, 100));
  clock_.Advance(200ms);
  EXPECT_EQ(intercom_.Snapshot().previous_caller, 0);  // a name without leading digits
  player_.PlayToTheEnd();
  Message(999);
  clock_.Advance(200ms);
  EXPECT_EQ(intercom_.Snapshot().previous_caller, 999);
  EXPECT_EQ(view_.statuses.size(), 1u);  // nobody listed with these ids: nothing shown
}

TEST_F(InboxTest, BrokenMessagesGoUnheardAndOnesThatCantPlayGoWithAnAlert) {
  Start();
  folder_.Add("5.wav", nullptr);
  watcher_.changed();
  EXPECT_EQ(folder_.removed, std::vector<std::string>{"5.wav"});
  EXPECT_EQ(player_.plays, 0);
  EXPECT_TRUE(view_.alerts.empty());

  player_.refuse = true;
  Message(6);
  watcher_.changed();
  EXPECT_EQ(folder_.removed, (std::vector<std::string>{"5.wav", "6.wav"}));
  ASSERT_EQ(view_.alerts.size(), 1u);
  EXPECT_EQ(view_.alerts[0],
            "Sound Out Device Error: Unable to start playback. Check that you have selected "
            "the correct Sound Out Device using Settings.");
}

// A file system may hold a message for a moment after its caller closed it: one that
// could not be deleted is looked at again every 500 ms for 5 s, and then left alone.
TEST_F(InboxTest, AMessageThatCouldNotBeDeletedIsTriedAgainForAWhile) {
  Start();
  folder_.undeletable = true;
  Message(101);
  watcher_.changed();
  player_.PlayToTheEnd();
  const int listings = folder_.listings;
  clock_.Advance(Inbox::kBetweenMessages);
  for (int look = 0; look < 2 * Inbox::kUndeletedLooks; ++look) {
    clock_.Advance(Inbox::kUndeletedLook);
  }
  EXPECT_EQ(folder_.listings - listings, 1 + Inbox::kUndeletedLooks);
}

TEST_F(InboxTest, AMessageWhoseHeaderIsStillComingIsLeftForItsCaller) {
  ListUser("Ann", 7);
  Start();
  FakeInboxFolder::Message& message = folder_.Add("7.wav", nullptr, /*coming=*/true);
  watcher_.changed();
  clock_.Advance(100ms);  // looked at every 20 ms meanwhile
  EXPECT_TRUE(folder_.removed.empty());
  EXPECT_EQ(player_.plays, 0);
  EXPECT_TRUE(folder_.held.empty());
  EXPECT_TRUE(view_.statuses.empty());

  message.reader = std::make_shared<MemoryReader>(11025, 0);  // the header, no sound yet
  clock_.Advance(20ms);
  EXPECT_EQ(player_.plays, 1);  // the lead-in covers the wait for the first sound
  clock_.Advance(100ms);
  EXPECT_EQ(view_.statuses, std::vector<std::string>{"<- Ann"});  // once, not at every look
}

TEST_F(InboxTest, JunkAndHeadersStillComingHoldNoRealMessageBack) {
  Start();
  folder_.Add("7.wav", nullptr, /*coming=*/true);  // a caller about to write its header
  folder_.Add("8.wav", std::make_shared<MemoryReader>(1, 4000));  // half an hour at 1 Hz
  Message(9);
  watcher_.changed();
  EXPECT_EQ(folder_.removed, std::vector<std::string>{"8.wav"});
  EXPECT_EQ(player_.plays, 1);
  EXPECT_EQ(folder_.held, std::set<std::string>{"9.wav"});
  EXPECT_EQ(intercom_.Snapshot().previous_caller, 9);

  player_.PlayToTheEnd();
  clock_.Advance(200ms);
  EXPECT_EQ(folder_.Names(), std::vector<std::string>{"7.wav"});  // still waited for
  folder_.Find("7.wav")->coming = false;                          // its time is up: junk after all
  clock_.Advance(20ms);
  EXPECT_EQ(folder_.removed, (std::vector<std::string>{"8.wav", "9.wav", "7.wav"}));
}

TEST_F(InboxTest, PlaybackThatCatchesUpWithItsCallerGoesOnWhereItStopped) {
  Start();
  std::shared_ptr<MemoryReader> reader = Message(8, 0.5);
  folder_.Find("8.wav")->coming = true;
  watcher_.changed();
  player_.PlayToTheEnd();  // the caller fell behind
  EXPECT_TRUE(folder_.removed.empty());
  clock_.Advance(100ms);
  EXPECT_EQ(player_.plays, 1);  // nothing more yet

  reader->Grow(5512);
  clock_.Advance(20ms);
  EXPECT_EQ(player_.plays, 2);
  EXPECT_EQ(player_.started_at, 5512);  // on from where it stopped, without a new lead-in

  // The caller's copy writes a new message over this one: heard from its beginning.
  player_.PlayToTheEnd();
  reader->Grow(300 - reader->GetLength());
  clock_.Advance(20ms);
  EXPECT_EQ(player_.plays, 3);
  EXPECT_EQ(player_.started_at, -1653);
  reader.reset();  // the test's hold on the file

  folder_.Find("8.wav")->coming = false;  // the caller finished: held from then on
  EXPECT_TRUE(folder_.held.empty());
  clock_.Advance(Inbox::kHoldLook);
  EXPECT_EQ(folder_.held, std::set<std::string>{"8.wav"});
  player_.PlayToTheEnd();
  EXPECT_EQ(folder_.removed, std::vector<std::string>{"8.wav"});

  // A caller that stops writing for good: once it no longer counts as coming, the
  // message is finished and deleted.
  Message(9, 0.5);
  folder_.Find("9.wav")->coming = true;
  clock_.Advance(200ms);
  player_.PlayToTheEnd();
  Message(10);  // waits behind it
  folder_.Find("9.wav")->coming = false;
  clock_.Advance(20ms);
  EXPECT_EQ(folder_.removed, (std::vector<std::string>{"8.wav", "9.wav"}));
  clock_.Advance(Inbox::kBetweenMessages);
  EXPECT_EQ(folder_.held, std::set<std::string>{"10.wav"});
}

}  // namespace
}  // namespace parlavox
