// The real install package and uninstaller, run in a home of the test's own without a
// display, as a script or a person at a terminal would run them.

#include <gtest/gtest.h>

#include <filesystem>

#include "app/intercom_copy_test_util.h"
#include "setup/role_marker.h"

namespace parlavox {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

class SetupProcessTest : public testing::Test {
 protected:
  SetupProcessTest() {
    fs::copy_file(PARLAVOX_SETUP_PACKAGE, package_);
    fs::create_directories(copy_.home() + "/Desktop");
  }
  // An installed copy runs on its own: it is closed even when a test stopped early.
  ~SetupProcessTest() override { copy_.Control({"--quit"}); }

  // Runs a file of the program for the person ("--user": the tests may run as root).
  std::pair<int, std::string> Run(const std::string& program, std::vector<std::string> arguments) {
    arguments.push_back("--user");
    const auto [result, errors] = copy_.RunProgram(program, arguments);
    return {result.first, errors};
  }

  std::string Installed(const std::string& name) const { return copy_.data_folder() + "/" + name; }
  std::vector<std::string> Entries() const {
    std::vector<std::string> made;
    for (const std::string& path :
         {copy_.home() + "/.local/share/applications/parlavox.desktop",
          copy_.home() + "/.local/share/applications/parlavox-help.desktop",
          copy_.home() + "/.local/share/applications/parlavox-uninstall.desktop",
          copy_.home() + "/.local/share/icons/hicolor/scalable/apps/parlavox.svg",
          copy_.home() + "/Desktop/parlavox.desktop",
          copy_.home() + "/.config/autostart/parlavox.desktop"}) {
      if (fs::exists(path)) made.push_back(path);
    }
    return made;
  }

  ScratchFolder scratch_;
  IntercomCopy copy_{scratch_.path()};
  std::string package_ = scratch_ / "parlavox-setup";
};

// The package installs, starts the program and is uninstalled again. One whose bytes
// were changed installs nothing: cut short before the first install (and still known
// for a package by its name), or damaged over a good install, which runs on untouched.
TEST_F(SetupProcessTest, TheOneFilePackageInstallsStartsAndIsUninstalledAndADamagedOneDoesNothing) {
  std::string bytes = FileText(package_);
  const std::string cut = scratch_ / "Parlavox-Setup";
  WriteFileText(cut, bytes.substr(0, bytes.size() - 1000));
  fs::permissions(cut, fs::perms::owner_all);
  const auto [cut_code, cut_log] = Run(cut, {"--yes"});
  EXPECT_EQ(cut_code, 1);
  EXPECT_EQ(cut_log, "Install Error: " + std::string(kCorruptPackageText) + "\n");
  EXPECT_FALSE(fs::exists(copy_.home() + "/.config/parlavox/folders.ini"));  // nothing at all

  copy_.Start();  // a copy that runs already is closed first
  ASSERT_TRUE(copy_.WaitUntilAnswering());
  const auto [installed, install_log] = Run(package_, {"--yes"});
  ASSERT_EQ(installed, 0) << install_log;
  EXPECT_EQ(copy_.process().WaitForExit(1s), 0);
  EXPECT_NE(install_log.find("yes (--yes)"), std::string::npos) << install_log;
  const std::string built = FileText(PARLAVOX_PACKAGED_PROGRAM);  // stripped
  EXPECT_EQ(FileText(Installed("parlavox")), built + std::string(4, '\0'));
  EXPECT_EQ(FileText(Installed("parlavox-uninstall")), built + "\x0F\x0F\xF0\xF0");
  EXPECT_EQ(FileText(Installed("parlavox-help.html")),
            FileText(fs::path(PARLAVOX_BINARY).parent_path() / "parlavox-help.html"));
  EXPECT_EQ(Entries().size(), 6u);
  const std::string folders = FileText(copy_.home() + "/.config/parlavox/folders.ini");
  EXPECT_NE(folders.find("Incoming=" + copy_.inward_folder()), std::string::npos) << folders;
  EXPECT_NE(folders.find("ProgramFiles=" + copy_.data_folder()), std::string::npos) << folders;
  // The installed program runs, started "/install".
  ASSERT_TRUE(copy_.WaitUntilAnswering());
  EXPECT_TRUE(copy_.OwnRecord().is_on());

  // A byte of the help file, the payload's last file (the program's own bytes must stay
  // runnable to say anything at all); the trailer is intact.
  bytes[bytes.size() - 16 - 100] ^= 0x55;
  const std::string damaged = scratch_ / "damaged-setup";
  WriteFileText(damaged, bytes);
  fs::permissions(damaged, fs::perms::owner_all);
  const auto [code, log] = Run(damaged, {"--yes"});
  EXPECT_EQ(code, 1);
  EXPECT_NE(log.find(std::string(kCorruptPackageText)), std::string::npos) << log;
  EXPECT_EQ(copy_.Control({"--status"}).first, 0);  // the running copy goes on
  EXPECT_EQ(FileText(Installed("parlavox")), built + std::string(4, '\0'));

  const auto [removed, uninstall_log] = Run(Installed("parlavox-uninstall"), {"--yes"});
  EXPECT_EQ(removed, 0) << uninstall_log;
  EXPECT_NE(uninstall_log.find("Are you sure you want to remove Parlavox from this computer?"),
            std::string::npos);
  EXPECT_TRUE(Entries().empty());
  EXPECT_FALSE(fs::exists(copy_.data_folder()));
  EXPECT_NE(copy_.Control({"--status"}).first, 0);  // the installed copy was closed
}

}  // namespace
}  // namespace parlavox
