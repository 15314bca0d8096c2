#include "core/user_list.h"

#include <gtest/gtest.h>

#include "settings/profile_file.h"
#include "settings/scratch_settings_test_util.h"

namespace parlavox {
namespace {

class UserListTest : public ScratchSettingsTest {
 protected:
  // Adds a user whose cached keys are given; nullptr leaves a key out.
  void AddUser(const char* name, const char* on, const char* id) {
    const int i = users_.Count();
    users_.AddFolder("/srv/" + std::to_string(i));
    if (name) settings_.WriteText(kUsersSection, ListKey("name", i), name);
    if (on) settings_.WriteText(kUsersSection, ListKey("on", i), on);
    if (id) settings_.WriteText(kUsersSection, ListKey("id", i), id);
  }

  std::vector<int> ShownUsers() {
    list_.Refill(users_);
    std::vector<int> shown;
    for (const UserListItem& item : list_.items()) shown.push_back(item.user_index);
    return shown;
  }

  UsersCache users_{settings_};
  UserList list_;
};

TEST_F(UserListTest, ShowsCachedNamesAndStatesAndHidesLaterUsersWithAnEarlierId) {
  AddUser("Alice", "true", "10");
  AddUser(nullptr, nullptr, nullptr);
  list_.Refill(users_);
  ASSERT_EQ(list_.items().size(), 2u);
  EXPECT_EQ(list_.items()[0], (UserListItem{"Alice", true, true, 10, 0}));
  EXPECT_EQ(list_.items()[1], (UserListItem{"Pending Connection", false, true, 0, 1}));

  settings_.WriteCount(kUsersSection, "folder", 0);
  AddUser("A", "true", "5");
  AddUser("B", "true", "5");      // same id as A: hidden
  AddUser("C", "true", nullptr);  // missing id
  AddUser("D", "true", nullptr);  // two missing ids never collide
  EXPECT_EQ(ShownUsers(), (std::vector<int>{0, 2, 3}));

  AddUser("E", "true", "0");
  AddUser("F", "true", nullptr);  // missing id, and an earlier stored 0: hidden
  EXPECT_EQ(ShownUsers(), (std::vector<int>{0, 2, 3, 4}));
}

TEST_F(UserListTest, KeepsTheSelectedPositionAcrossRefills) {
  list_.Refill(users_);
  EXPECT_EQ(list_.selected(), -1);  // nothing to select

  AddUser("A", "true", "1");
  AddUser("B", "true", "2");
  AddUser("C", "true", "3");
  list_.Refill(users_);
  EXPECT_EQ(list_.selected(), 0);  // nothing was selected: the first
  list_.Select(2);
  list_.Refill(users_);
  EXPECT_EQ(list_.selected(), 2);

  settings_.WriteCount(kUsersSection, "folder", 2);
  list_.Refill(users_);
  EXPECT_EQ(list_.selected(), -1);  // the position is gone
}

}  // namespace
}  // namespace parlavox
