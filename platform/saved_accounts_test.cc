#include "platform/saved_accounts.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "platform/secret_store_test_util.h"

namespace parlavox {
namespace {

// A secret store of the test's own: an account saved is found again for its server only,
// as is one the file manager saved.
TEST(SavedAccountsTest, AnAccountSavedIsFoundForItsServerAsTheFileManagersIs) {
  ScratchFolder scratch;
  const PrivateSecretStore store(scratch / "store");
  ASSERT_TRUE(store.ready()) << store.log();
  const std::string& bus = store.bus_variable();
  setenv("DBUS_SESSION_BUS_ADDRESS", bus.substr(bus.find('=') + 1).c_str(), 1);

  ASSERT_TRUE(SaveSmbAccount("fileserver", {"anna", "s3cret 'quoted'", "OFFICE"}));
  const std::optional<Credentials> anna = FindSavedSmbAccount("fileserver");
  ASSERT_TRUE(anna.has_value());
  EXPECT_EQ(anna->username, "anna");
  EXPECT_EQ(anna->password, "s3cret 'quoted'");
  EXPECT_EQ(anna->domain, "OFFICE");
  EXPECT_FALSE(FindSavedSmbAccount("other").has_value());

  ASSERT_TRUE(store.SaveAsFileManager("nas", "ben", "pw")) << store.log();
  const std::optional<Credentials> ben = FindSavedSmbAccount("nas");
  ASSERT_TRUE(ben.has_value());
  EXPECT_EQ(ben->username, "ben");
  EXPECT_EQ(ben->password, "pw");
}

}  // namespace
}  // namespace parlavox
