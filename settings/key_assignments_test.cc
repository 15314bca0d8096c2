#include "settings/key_assignments.h"

#include <gtest/gtest.h>

#include "settings/scratch_settings_test_util.h"
#include "words/key_names.h"

namespace parlavox {
namespace {

class KeyAssignmentsTest : public ScratchSettingsTest {
 protected:
  std::string Value(const std::string& key) {
    return settings_.FindText(kKeysSection, key).value_or("<missing>");
  }

  // Adds an assignment as the Keys page does once both its dialogs were confirmed.
  void Add(uint32_t key, uint32_t modifiers, int32_t command) {
    const int n = keys_.Count();
    keys_.SetKey(n, key, modifiers);
    keys_.SetCommand(n, command);
    keys_.SetCount(n + 1);
  }

  UsersCache users_{settings_};
  KeyAssignments keys_{settings_, users_};
};

TEST_F(KeyAssignmentsTest, KeysAndCommandsReadAsThePeopleKnowThem) {
  EXPECT_EQ(KeyText(3, 120), "Ctrl+Alt+F9");
  EXPECT_EQ(KeyText(7, 0x74), "Ctrl+Alt+Shift+F5");
  EXPECT_EQ(KeyText(4, 0x75), "Shift+F6");
  EXPECT_EQ(KeyText(0, 0x0D), "Enter");
  EXPECT_EQ(KeyText(0, 0x60), "Num 0");
  EXPECT_EQ(KeyText(1, 'A'), "Alt+A");
  EXPECT_EQ(KeyText(0, '0'), "0");
  EXPECT_EQ(KeyText(2, 0x21), "Ctrl+Page Up");
  EXPECT_EQ(KeyText(0, 0x87), "F24");
  EXPECT_EQ(KeyText(2, 0xFF), "Ctrl+");  // a key without a name leaves the modifiers

  EXPECT_EQ(keys_.Key(0), 13u);  // missing entries read as Enter without modifiers
  EXPECT_EQ(keys_.KeyText(0), "Enter");
  users_.AddFolder("/srv/ann");
  users_.SetName(0, "Ann");
  users_.AddFolder("/srv/ben");
  EXPECT_EQ(keys_.CommandText(4), "Reply to previous caller");
  EXPECT_EQ(keys_.CommandText(32), "Call: Ann");
  EXPECT_EQ(keys_.CommandText(33), "Call: Pending Connection");
  EXPECT_EQ(keys_.CommandText(7), "");
  EXPECT_EQ(keys_.CommandText(-1), "");

  // A line names the desktop's keys only where they differ.
  Add(120, 3, 4);
  EXPECT_EQ(keys_.Line(0, ""), "Ctrl+Alt+F9  Reply to previous caller");
  EXPECT_EQ(keys_.Line(0, "Ctrl+Alt+F9"), "Ctrl+Alt+F9  Reply to previous caller");
  EXPECT_EQ(keys_.Line(0, "Meta+R"), "Ctrl+Alt+F9  Reply to previous caller  (desktop: Meta+R)");
}

TEST_F(KeyAssignmentsTest, RemovingMovesKeysAndCommandsButLeavesModifiers) {
  Add(0x70, 1, 1);
  Add(0x71, 2, 2);
  Add(0x72, 4, 3);
  keys_.Remove(0);
  EXPECT_EQ(Value("keycount"), "2");
  EXPECT_EQ(Value("key0"), "113");
  EXPECT_EQ(Value("command0"), "2");
  EXPECT_EQ(Value("key1"), "114");
  EXPECT_EQ(Value("command1"), "3");
  EXPECT_EQ(Value("mod0"), "1");  // the modifiers keep their places
  EXPECT_EQ(Value("mod1"), "2");
  EXPECT_EQ(Value("key0mod"), "");  // and empty companions are left behind
  EXPECT_EQ(Value("key1mod"), "");
  EXPECT_EQ(Value("key2"), "<missing>");

  keys_.Remove(1);  // the last: only the count goes down
  EXPECT_EQ(Value("keycount"), "1");
  EXPECT_EQ(Value("key1"), "114");  // stays, behind the count
  keys_.Remove(0);
  keys_.Remove(0);  // nothing left: nothing happens
  EXPECT_EQ(Value("keycount"), "0");
}

}  // namespace
}  // namespace parlavox
