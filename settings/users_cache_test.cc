#include "settings/users_cache.h"

#include <gtest/gtest.h>

#include "settings/scratch_settings_test_util.h"

namespace parlavox {
namespace {

class UsersCacheTest : public ScratchSettingsTest {
 protected:
  std::string Value(const std::string& key) {
    return settings_.FindText("users", key).value_or("<missing>");
  }

  UsersCache users_{settings_};
};

TEST_F(UsersCacheTest, FoldersAreAddedChangedAndRemovedInPlace) {
  users_.AddFolder("/srv/ann");  // no count yet: the first place
  EXPECT_EQ(Value("foldercount"), "1");
  EXPECT_EQ(Value("folder0"), "/srv/ann");
  users_.AddFolder("/srv/ben");
  users_.AddFolder("/srv/cid");
  users_.SetName(0, "Ann");
  users_.SetName(1, "Ben");
  users_.SetOn(1, true);
  users_.ChangeFolder(2, "//office/cid");
  EXPECT_EQ(users_.Folder(2), "//office/cid");

  users_.RemoveFolder(0);
  EXPECT_EQ(users_.Count(), 2);
  EXPECT_EQ(users_.Folder(0), "/srv/ben");
  EXPECT_EQ(users_.Folder(1), "//office/cid");
  EXPECT_EQ(Value("folder2"), "<missing>");  // moved, not copied
  // What the poller read stays in its place until the next poll puts it right.
  EXPECT_EQ(users_.DisplayName(0), "Ann");
  EXPECT_EQ(users_.DisplayName(1), "Ben");
  EXPECT_TRUE(users_.IsOn(1));

  users_.RemoveFolder(1);
  users_.RemoveFolder(0);
  users_.RemoveFolder(0);  // an empty list stays empty
  EXPECT_EQ(Value("foldercount"), "0");
  users_.AddFolder("/srv/dee");
  EXPECT_EQ(users_.Folder(0), "/srv/dee");
}

}  // namespace
}  // namespace parlavox
