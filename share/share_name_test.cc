#include "share/share_name.h"

#include <sys/stat.h>

#include <chrono>

#include <gtest/gtest.h>

#include "share/credentials.h"
#include "share/samba_server_test_util.h"
#include "share/smb_connection.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

TEST(ShareNameTest, BothNameFormsAreReadAndLocalFoldersAreNot) {
  struct Case {
    const char* folder;
    const char* url;  // nullptr: not a share
  };
  const Case cases[] = {
      {"\\\\fileserver\\office\\anna", "smb://fileserver/office/anna"},
      {"\\\\192.168.1.20\\parlavox-anna", "smb://192.168.1.20/parlavox-anna"},
      {"smb://127.0.0.1/share", "smb://127.0.0.1/share"},
      {"SMB://host:4450/share/a/b/", "smb://host:4450/share/a/b"},
      {"/srv/office/anna", nullptr},
      {"office\\anna", nullptr},
      {"\\\\host", nullptr},            // no share
      {"smb://host/", nullptr},         // no share
      {"smb://host:99999/s", nullptr},  // no such port
      {"smb://:445/s", nullptr},        // no host
  };
  for (const Case& c : cases) {
    const std::optional<ShareLocation> location = ParseShareName(c.folder);
    if (c.url == nullptr) {
      EXPECT_FALSE(location) << c.folder;
    } else {
      ASSERT_TRUE(location) << c.folder;
      EXPECT_EQ(SmbUrl(*location), c.url) << c.folder;
    }
  }
  EXPECT_EQ(SmbUrl(*ParseShareName("\\\\h\\s"), "ParlavoxUserData"), "smb://h/s/ParlavoxUserData");
}

TEST(CredentialsTest, AreReadPerHostAndRefusedWhenOthersMayReadThem) {
  ScratchFolder scratch;
  const std::string path = scratch / "credentials.ini";
  WriteFileText(path, "[fileserver]\nusername=anna\npassword=secret\ndomain=OFFICE\n");
  chmod(path.c_str(), 0600);
  const CredentialsFile file(path);
  std::string refusal;
  const Credentials anna = file.For("fileserver", &refusal);
  EXPECT_EQ(anna.username, "anna");
  EXPECT_EQ(anna.password, "secret");
  EXPECT_EQ(anna.domain, "OFFICE");
  EXPECT_TRUE(file.For("other", &refusal).username.empty());  // a guest
  EXPECT_TRUE(refusal.empty());

  chmod(path.c_str(), 0644);  // as ssh refuses a key that others may read
  EXPECT_TRUE(file.For("fileserver", &refusal).username.empty());
  EXPECT_NE(refusal.find("may be read by others"), std::string::npos) << refusal;
}

// A server that accepts the connection and never answers, as a machine that hangs: the
// read gives up after the time-out instead of holding its thread for good.
TEST(SmbConnectionTest, AServerThatNeverAnswersIsGivenUpOnAfterTheTimeOut) {
  const SilentListener silent;
  ASSERT_NE(silent.port(), 0);
  const std::string folder = silent.Folder("s");

  SmbConnections connections{CredentialsFile("/nonexistent/credentials.ini")};
  const ShareLocation location = *ParseShareName(folder);
  const auto began = std::chrono::steady_clock::now();
  int error = 0;
  EXPECT_FALSE(
      connections.For(location).ReadAt(SmbUrl(location, "ParlavoxUserData"), 0, 128, &error));
  EXPECT_LT(std::chrono::steady_clock::now() - began, 3 * SmbConnection::kTimeout);
  EXPECT_EQ(connections.For(location).Trouble(error, location), "Server 127.0.0.5 does not answer")
      << error;
}

}  // namespace
}  // namespace parlavox
