#ifndef PARLAVOX_SETTINGS_SCRATCH_SETTINGS_TEST_UTIL_H_
#define PARLAVOX_SETTINGS_SCRATCH_SETTINGS_TEST_UTIL_H_

#include <gtest/gtest.h>

#include "settings/settings_file.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {

// A test with settings of its own: settings.ini, the inward folder and the folder store
// all in a scratch folder, located before the test's own members are made.
class ScratchSettingsTest : public testing::Test {
 protected:
  ScratchSettingsTest() { settings_.LocateFolders(folders_, scratch_.path()); }

  ScratchFolder scratch_;
  FolderStore folders_{scratch_ / "user.ini", scratch_ / "machine.ini"};
  SettingsFile settings_;
};

}  // namespace parlavox

#endif  // PARLAVOX_SETTINGS_SCRATCH_SETTINGS_TEST_UTIL_H_
