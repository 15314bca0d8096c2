#ifndef PARLAVOX_SETTINGS_SCRATCH_SETTINGS_TEST_UTIL_H_
#define PARLAVOX_SETTINGS_SCRATCH_SETTINGS_TEST_UTIL_H_

#include <gtest/gtest.h>

#include "settings/settings_file.h"
#include "settings/start_at_login.h"
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

// Start at login that only remembers: whether it is on, and how often it was switched.
class FakeStartAtLogin : public StartAtLogin {
 public:
  bool IsOn() const override { return on; }
  void Set(bool value) override {
    on = value;
    ++changes;
  }
  bool on = false;
  int changes = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_SETTINGS_SCRATCH_SETTINGS_TEST_UTIL_H_
