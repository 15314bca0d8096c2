#include "share/find_users.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "share/samba_server_test_util.h"
#include "util/scratch_folder_test_util.h"
#include "words/user_record_test_util.h"

namespace parlavox {
namespace {

TEST(FindUsersTest, FindsTheFolderAndThoseInItThatHoldAWholeRecordAndNothingElse) {
  ScratchFolder scratch;
  const auto publish = [&](const std::string& folder, const char* name, int32_t id, bool on) {
    ASSERT_TRUE(PublishUser(scratch / folder, name, id, on));
  };
  publish("office", "Reception", 1, true);
  publish("office/carol", "Carol", 3, false);
  publish("office/ann", "Ann", 2, true);
  publish("office/ann/deeper", "Deeper", 4, true);  // two levels down: not looked at
  std::filesystem::create_directories(scratch / "office/empty");
  std::filesystem::create_directories(scratch / "office/junk");
  WriteFileText(scratch / "office/junk/ParlavoxUserData", "short");
  std::filesystem::create_directories(scratch / "office/a-file-named-so");
  std::filesystem::create_directories(scratch / "office/a-file-named-so/ParlavoxUserData");
  WriteFileText(scratch / "office/notes.txt", "not a folder");

  SmbConnections smb{CredentialsFile("/nonexistent/credentials.ini")};
  const std::vector<FoundUser> found = FindUsers(smb, scratch / "office/").users;
  ASSERT_EQ(found.size(), 3u);
  EXPECT_EQ(found[0].folder, scratch / "office/");
  EXPECT_EQ(found[0].record.Name(), "Reception");
  EXPECT_EQ(found[1].folder, scratch / "office/ann");
  EXPECT_EQ(found[1].record.id, 2);
  EXPECT_TRUE(found[1].record.is_on());
  EXPECT_EQ(found[2].folder, scratch / "office/carol");
  EXPECT_FALSE(found[2].record.is_on());

  const FoundUsers missing = FindUsers(smb, scratch / "missing");
  EXPECT_TRUE(missing.users.empty());
  EXPECT_EQ(missing.trouble, "");

  // A server that kept the look from happening says why, named alone or by a share.
  const SilentListener silent;
  const std::string share = silent.Folder("office");
  EXPECT_EQ(FindUsers(smb, share).trouble, "Server 127.0.0.5 does not answer");
  EXPECT_EQ(FindUsers(smb, ServerName(share)).trouble, "Server 127.0.0.5 does not answer");
}

}  // namespace
}  // namespace parlavox
