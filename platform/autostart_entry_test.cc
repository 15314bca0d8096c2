#include "platform/autostart_entry.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "platform/service.h"
#include "util/paths.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

class StartAtLoginTest : public testing::Test {
 protected:
  static std::string Text(const std::string& path) { return FileText(path); }

  ScratchFolder scratch_;
  const std::string& folder_ = scratch_.path();
};

TEST_F(StartAtLoginTest, OnMeansTheEntryExistsWhateverItStarts) {
  AutostartEntry entry(folder_ + "/autostart");
  EXPECT_FALSE(entry.IsOn());
  entry.Set(true);
  EXPECT_TRUE(entry.IsOn());
  const std::string text = Text(entry.path());
  EXPECT_NE(text.find("Exec=" + RunningProgramPath() + " /logon\n"), std::string::npos) << text;
  entry.Set(false);
  EXPECT_FALSE(entry.IsOn());
  entry.Set(false);  // already off: nothing, and nothing to say
  EXPECT_FALSE(entry.IsOn());

  std::ofstream(entry.path()) << "[Desktop Entry]\nExec=/somewhere/else\n";
  EXPECT_TRUE(entry.IsOn());
  ASSERT_TRUE(entry.Enable("/opt/my \"odd\" place/parlavox"));
  EXPECT_NE(Text(entry.path()).find("Exec=\"/opt/my \\\"odd\\\" place/parlavox\" /logon"),
            std::string::npos);
}

TEST_F(StartAtLoginTest, AMachineWideEntryCountsAndThePersonCanTurnItOff) {
  AutostartEntry own(folder_ + "/home/autostart"), machine(folder_ + "/etc/autostart");
  PersonsStartAtLogin login(own, machine);
  EXPECT_FALSE(login.IsOn());
  ASSERT_TRUE(machine.Enable("/opt/parlavox/parlavox"));  // installed for everybody
  EXPECT_TRUE(login.IsOn());

  login.Set(false);  // the person's own entry hides the machine's
  EXPECT_FALSE(login.IsOn());
  EXPECT_TRUE(machine.IsOn());
  EXPECT_NE(Text(own.path()).find("Hidden=true"), std::string::npos);
  login.Set(true);
  EXPECT_TRUE(login.IsOn());
  EXPECT_EQ(Text(own.path()).find("Hidden=true"), std::string::npos);

  machine.Disable();
  login.Set(false);  // nothing to hide: the own entry just goes
  EXPECT_FALSE(login.IsOn());
  EXPECT_FALSE(std::filesystem::exists(own.path()));
}

TEST_F(StartAtLoginTest, AServiceIsRegisteredOnceAndSaysWhatIsLeftToDo) {
  // A systemd that can't be reached: the person is told what finishes the job.
  ServiceUnit unit(folder_ + "/systemd/user", "false");
  EXPECT_FALSE(unit.IsRegistered());
  const std::string left = unit.Register("/usr/bin/parlavox");
  EXPECT_TRUE(unit.IsRegistered());
  EXPECT_NE(Text(unit.path()).find("ExecStart=\"/usr/bin/parlavox\" /service"), std::string::npos);
  EXPECT_NE(left.find("loginctl enable-linger"), std::string::npos) << left;
  std::filesystem::remove(unit.path());
  EXPECT_EQ(ServiceUnit(folder_ + "/systemd/user", "true").Register("/usr/bin/parlavox"), "");
  std::ofstream(unit.path()) << "kept";
  EXPECT_EQ(unit.Register("/elsewhere/parlavox"), "");  // registered already: untouched
  EXPECT_EQ(Text(unit.path()), "kept");
}

}  // namespace
}  // namespace parlavox
