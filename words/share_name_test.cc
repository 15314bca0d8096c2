#include "words/share_name.h"

#include <gtest/gtest.h>

namespace parlavox {
namespace {

TEST(ShareNameTest, BothNameFormsAreReadAndLocalFoldersAreNot) {
  struct Case {
    const char* folder;
    const char* url;  // nullptr: not a share
  };
  const Case cases[] = {
      {"\\\\fileserver\\office\\anna", "smb://fileserver/office/anna"},
      {"\\\\127.0.0.20\\parlavox-anna", "smb://127.0.0.20/parlavox-anna"},
      {"smb://127.0.0.1/share", "smb://127.0.0.1/share"},
      {"SMB://host:4450/share/a/b/", "smb://host:4450/share/a/b"},
      {"/srv/office/anna", nullptr},
      {"office\\anna", nullptr},
      {"\\\\host", nullptr},            // no share
      {"smb://host/", nullptr},         // no share
      {"smb://host:99999/s", nullptr},  // no such port
      {"smb://:445/s", nullptr},        // no host
      // A name is taken as it stands where Windows names it, and with its %XX escapes
      // undone in an smb:// name; the address names it so that libsmbclient, which
      // undoes them and reads what follows "?" as options, finds it.
      {"\\\\fileserver\\office\\Team%20A", "smb://fileserver/office/Team%2520A"},
      {"smb://fileserver/office/Team%20A/100%", "smb://fileserver/office/Team A/100%25"},
      {"\\\\fileserver\\what?", "smb://fileserver/what%3F"},
      // Desktops' FUSE mounts of shares mean the share itself.
      {"/run/user/1000/gvfs/smb-share:server=fileserver,share=office/anna",
       "smb://fileserver/office/anna"},
      {"/run/user/1000/gvfs/smb-share:domain=OFFICE,port=4450,server=nas,share=my%20share,user=b",
       "smb://nas:4450/my share"},
      {"/run/user/1000/gvfs/smb-share:server=nas", nullptr},  // no share
      {"/run/user/1000/kio-fuse-AbCdEf/smb/bob@nas/office/anna%20", "smb://nas/office/anna%2520"},
      {"/run/user/1000/kio-fuse-AbCdEf/sftp/nas/office", nullptr},
      {"/run/user/1000/kio-fuse-AbCdEf/ftp/nas/office", nullptr},
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

  // A server alone, and its shares named in its form.
  EXPECT_EQ(SmbUrl(*ParseServerName("\\\\fileserver\\")), "smb://fileserver");
  EXPECT_EQ(SmbUrl(*ParseServerName("smb://127.0.0.1:4450")), "smb://127.0.0.1:4450");
  EXPECT_FALSE(ParseServerName("smb://host/share"));
  EXPECT_FALSE(ParseServerName("/srv"));
  EXPECT_EQ(NameInside("\\\\fileserver\\", "office%20"), "\\\\fileserver\\office%20");
  EXPECT_EQ(NameInside("smb://fileserver/", "office%20"), "smb://fileserver/office%2520");
  EXPECT_EQ(NameInside("/run/user/1000/gvfs/smb-share:server=nas,share=s/", "a%20"),
            "/run/user/1000/gvfs/smb-share:server=nas,share=s/a%20");
  EXPECT_EQ(ServerName("\\\\fileserver\\office\\ann"), "\\\\fileserver");
  EXPECT_EQ(ServerName("smb://fileserver:4450/office"), "smb://fileserver:4450");
  EXPECT_EQ(ServerName("/srv/office"), "");
}

}  // namespace
}  // namespace parlavox
