// The install package run on a desktop: its progress window, the licence terms as a
// dialog, and the installed program that it starts.

#include <filesystem>

#include "ui/desktop_copy_test_util.h"

namespace parlavox {
namespace {

namespace fs = std::filesystem;

class SetupDialogTest : public DesktopCopyTest {
 protected:
  SetupDialogTest() {
    fs::copy_file(PARLAVOX_SETUP_PACKAGE, package_);
    // A stand-in for the desktop's browser, which records what it was asked to open.
    WriteFileText(copy_.tools_folder() + "/xdg-open",
                  "#!/bin/sh\necho \"$1\" >> '" + opened_ + "'\n");
    fs::permissions(copy_.tools_folder() + "/xdg-open", fs::perms::owner_all);
  }

  // The installed copy runs on its own.
  ~SetupDialogTest() override { copy_.Control({"--quit"}); }

  // Starts the package for the person (the tests may run as root).
  void StartPackage() {
    std::vector<std::string> environment = copy_.Environment();
    environment.push_back("DISPLAY=" + desktop_.display());
    setup_ = std::make_unique<ChildProcess>(std::vector<std::string>{package_, "--user"},
                                            environment, "/dev/null", scratch_ / "setup.log");
    ASSERT_TRUE(Eventually([&] { return desktop_.VisibleWindow("Licence Terms"); }))
        << FileText(scratch_ / "setup.log");
    EXPECT_TRUE(desktop_.VisibleWindow("Installing Parlavox"));
    desktop_.Run("xdotool windowactivate --sync " + *desktop_.VisibleWindow("Licence Terms"));
  }

  std::string MenuEntry() const {
    return copy_.home() + "/.local/share/applications/parlavox.desktop";
  }

  std::string package_ = scratch_ / "parlavox-setup";
  std::string opened_ = scratch_ / "opened";
  std::unique_ptr<ChildProcess> setup_;
};

TEST_F(SetupDialogTest, CancelInstallsNothingAndAcceptingInstallsAndStartsTheProgramWithItsHelp) {
  StartPackage();
  desktop_.Run("xdotool key Escape");  // Cancel at the terms
  EXPECT_EQ(setup_->WaitForExit(10s), 1);
  EXPECT_FALSE(fs::exists(MenuEntry()));
  EXPECT_FALSE(fs::exists(copy_.data_folder() + "/parlavox"));
  EXPECT_FALSE(Eventually([&] { return desktop_.VisibleWindow("Parlavox"); }, 1s));

  StartPackage();
  if (const char* picture = std::getenv("PARLAVOX_SETUP_SCREENSHOT")) desktop_.Screenshot(picture);
  desktop_.Run("xdotool key Return");  // "I Accept", the default
  EXPECT_EQ(setup_->WaitForExit(30s), 0) << FileText(scratch_ / "setup.log");
  EXPECT_TRUE(fs::exists(MenuEntry()));
  EXPECT_TRUE(fs::exists(copy_.data_folder() + "/parlavox-uninstall"));
  // The installed program shows its window and the help for new users.
  EXPECT_TRUE(Eventually([&] { return desktop_.VisibleWindow("Parlavox"); }));
  EXPECT_TRUE(
      Eventually([&] { return FileText(opened_).find("#topic-101") != std::string::npos; }, 5s));
  // F1 in its window opens the help at its start.
  desktop_.Run("xdotool windowactivate --sync " + *desktop_.VisibleWindow("Parlavox") + " key F1");
  EXPECT_TRUE(Eventually(
      [&] { return FileText(opened_).find("parlavox-help.html\n") != std::string::npos; }, 5s))
      << FileText(opened_);
  EXPECT_FALSE(desktop_.VisibleWindow("Installing Parlavox"));
}

}  // namespace
}  // namespace parlavox
