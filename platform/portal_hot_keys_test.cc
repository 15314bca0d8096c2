#include "platform/portal_hot_keys.h"

#include <gtest/gtest.h>

#include "util/fake_clock_test_util.h"

namespace parlavox {
namespace {

using std::chrono::milliseconds;

// Records what the hot keys ask of the desktop's portal; the test plays the desktop.
class FakePortal : public ShortcutsPortal {
 public:
  void SetEvents(Events events) override { events_ = std::move(events); }
  void Open() override { ++opened; }
  void Bind(const std::vector<PortalShortcut>& shortcuts) override { binds.push_back(shortcuts); }
  void Close() override { ++closed; }

  Events events_;
  int opened = 0;
  int closed = 0;
  std::vector<std::vector<PortalShortcut>> binds;
};

class PortalHotKeysTest : public testing::Test {
 protected:
  PortalHotKeysTest() {
    keys_->SetListener([this](int id, uint32_t key) { fired_.push_back({id, key}); });
  }

  // Lets the event loop go round once, as it does after a batch of registrations.
  void NextPass() { clock_.Advance(milliseconds(0)); }

  FakeClock clock_;
  FakePortal portal_;
  std::vector<std::string> unavailable_;
  std::unique_ptr<PortalHotKeys> keys_ = std::make_unique<PortalHotKeys>(
      portal_, clock_, [this](const std::string& reason) { unavailable_.push_back(reason); });
  std::vector<std::pair<int, uint32_t>> fired_;
};

TEST(PreferredTriggerTest, UsesTheDesktopsNotationForModifiersAndKeys) {
  EXPECT_EQ(PreferredTrigger(3, 120), "CTRL+ALT+F9");
  EXPECT_EQ(PreferredTrigger(4, 'A'), "SHIFT+a");
  EXPECT_EQ(PreferredTrigger(7, 0x0D), "CTRL+ALT+SHIFT+Return");
  EXPECT_EQ(PreferredTrigger(0, 0x74), "F5");
  EXPECT_EQ(PreferredTrigger(2, 0xFF), "");  // no such key
}

TEST_F(PortalHotKeysTest, KeysRegisteredTogetherAreBoundInOneRequestOnlyWhenTheyChange) {
  EXPECT_EQ(portal_.opened, 1);
  EXPECT_TRUE(keys_->Register(0, 3, 120, "Call: Ben"));
  EXPECT_TRUE(keys_->Register(1, 0, 0x75, "Reply to previous caller"));
  EXPECT_TRUE(portal_.binds.empty());
  NextPass();
  ASSERT_EQ(portal_.binds.size(), 1u);
  ASSERT_EQ(portal_.binds[0].size(), 2u);
  EXPECT_EQ(portal_.binds[0][0].id, "key0");
  EXPECT_EQ(portal_.binds[0][0].description, "Call: Ben");
  EXPECT_EQ(portal_.binds[0][0].preferred_trigger, "CTRL+ALT+F9");
  EXPECT_EQ(portal_.binds[0][1].id, "key1");
  EXPECT_EQ(portal_.binds[0][1].preferred_trigger, "F6");

  // The settings sheet lets go of everything and binds the same list again: the
  // desktop is not asked again.
  keys_->Unregister(0);
  keys_->Unregister(1);
  NextPass();
  keys_->Register(0, 3, 120, "Call: Ben");
  keys_->Register(1, 0, 0x75, "Reply to previous caller");
  NextPass();
  EXPECT_EQ(portal_.binds.size(), 1u);

  // A changed list is bound anew.
  keys_->Unregister(0);
  keys_->Unregister(1);
  keys_->Register(0, 3, 120, "Call: Carla");
  NextPass();
  ASSERT_EQ(portal_.binds.size(), 2u);
  EXPECT_EQ(portal_.binds[1].size(), 1u);
  EXPECT_EQ(portal_.binds[1][0].description, "Call: Carla");

  keys_.reset();
  EXPECT_EQ(portal_.closed, 1);
}

TEST_F(PortalHotKeysTest, AHeldShortcutRepeatsEvery100MsUntilItIsReleasedAndOnlyOursAreHeard) {
  keys_->Register(2, 3, 120, "Call: Ben");
  NextPass();
  for (const char* other : {"key1", "other", "key"}) portal_.events_.activated(other);
  EXPECT_TRUE(fired_.empty());
  portal_.events_.activated("key2");
  ASSERT_EQ(fired_.size(), 1u);
  EXPECT_EQ(fired_[0], std::make_pair(2, uint32_t{120}));
  clock_.Advance(milliseconds(1000));
  EXPECT_EQ(fired_.size(), 11u);
  portal_.events_.deactivated("key2");
  clock_.Advance(milliseconds(1000));
  EXPECT_EQ(fired_.size(), 11u);

  // Let go of while held (the settings sheet opens): the repeating stops.
  portal_.events_.activated("key2");
  keys_->Unregister(2);
  clock_.Advance(milliseconds(500));
  EXPECT_EQ(fired_.size(), 12u);
}

TEST_F(PortalHotKeysTest, AFailingPortalIsReportedOnceAndEndsAHold) {
  keys_->Register(0, 3, 120, "Call: Ben");
  NextPass();
  portal_.events_.activated("key0");
  portal_.events_.failed("the desktop portal has gone");
  portal_.events_.failed("the desktop portal did not answer");
  clock_.Advance(milliseconds(500));
  EXPECT_EQ(fired_.size(), 1u);
  EXPECT_EQ(unavailable_, std::vector<std::string>{"the desktop portal has gone"});
  EXPECT_FALSE(keys_->Register(1, 0, 0x75, "Reply to previous caller"));
  NextPass();
  EXPECT_EQ(portal_.binds.size(), 1u);
}

TEST_F(PortalHotKeysTest, TheDesktopsOwnBindingsAreKeptForTheKeysPage) {
  keys_->Register(0, 3, 120, "Call: Ben");
  NextPass();
  EXPECT_EQ(keys_->DesktopBinding(0), "");
  portal_.events_.bound({{"key0", "Ctrl+Alt+F10"}});
  EXPECT_EQ(keys_->DesktopBinding(0), "Ctrl+Alt+F10");
  keys_->Unregister(0);  // still shown while the settings are open
  EXPECT_EQ(keys_->DesktopBinding(0), "Ctrl+Alt+F10");
  EXPECT_EQ(keys_->DesktopBinding(1), "");
}

}  // namespace
}  // namespace parlavox
