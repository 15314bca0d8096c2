#include "control/control_channel.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <vector>

#include <gtest/gtest.h>

#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

namespace fs = std::filesystem;

// Where the socket goes without a runtime folder: the temporary and cache folders are
// the test's own.
class ControlSocketPathTest : public testing::Test {
 protected:
  ControlSocketPathTest() {
    Keep("XDG_RUNTIME_DIR", nullptr);
    Keep("TMPDIR", temporary_.c_str());
    Keep("XDG_CACHE_HOME", cache_.c_str());
    fs::create_directories(temporary_);
  }
  ~ControlSocketPathTest() override {
    for (const auto& [name, value] : kept_) {
      value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
    }
  }

  void Keep(const char* name, const char* value) {
    const char* was = getenv(name);
    kept_.emplace_back(name, was ? std::optional<std::string>(was) : std::nullopt);
    value ? setenv(name, value, 1) : unsetenv(name);
  }

  static bool IsPrivateFolder(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode) &&
           status.st_uid == getuid() && (status.st_mode & 0777) == 0700;
  }

  ScratchFolder scratch_;
  std::string temporary_ = scratch_ / "tmp", cache_ = scratch_ / "cache";
  std::string taken_ = temporary_ + "/parlavox-" + std::to_string(getuid());
  std::vector<std::pair<std::string, std::optional<std::string>>> kept_;
};

TEST_F(ControlSocketPathTest, IsInAFolderOfTheUsersOwnAlsoWhereAnotherUserTookItsName) {
  EXPECT_EQ(ControlSocketPath(), taken_ + "/parlavox.sock");
  EXPECT_TRUE(IsPrivateFolder(taken_));
  fs::permissions(taken_, fs::perms::all);  // the user's own, opened: made private again
  EXPECT_EQ(ControlSocketPath(), taken_ + "/parlavox.sock");
  EXPECT_TRUE(IsPrivateFolder(taken_));

  // Taken by another user first (a link, which anybody can make, or their folder): the
  // socket goes to the user's cache folder.
  fs::remove(taken_);
  fs::create_directory(scratch_ / "theirs");
  fs::create_directory_symlink(scratch_ / "theirs", taken_);
  const std::string fallback = ControlSocketPath();
  EXPECT_EQ(fallback.rfind(cache_ + "/parlavox/", 0), 0u) << fallback;
  EXPECT_TRUE(IsPrivateFolder(fs::path(fallback).parent_path()));
  if (getuid() == 0) {
    fs::remove(taken_);
    fs::create_directory(taken_);
    ASSERT_EQ(chown(taken_.c_str(), 65534, 65534), 0);
    EXPECT_EQ(ControlSocketPath(), fallback);
  }

  Keep("XDG_RUNTIME_DIR", "/run/user/4242");
  EXPECT_EQ(ControlSocketPath(), "/run/user/4242/parlavox.sock");
}

}  // namespace
}  // namespace parlavox
