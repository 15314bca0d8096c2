#include "platform/desktop_entry.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

TEST(DesktopEntryTest, TheCommandIsQuotedOnlyWhereItMustBe) {
  ScratchFolder scratch;
  DesktopEntry entry;
  entry.name = "Parlavox";
  entry.command = {"/opt/my apps/parlavox", "/logon", "100%", "it's"};
  const std::string path = scratch / "menu/parlavox.desktop";
  ASSERT_TRUE(WriteDesktopEntry(path, entry, /*launchable=*/false));
  const std::string text = FileText(path);
  EXPECT_NE(text.find("Exec=\"/opt/my apps/parlavox\" /logon 100%% \"it's\"\n"), std::string::npos)
      << text;
  EXPECT_NE(text.find("\nName=Parlavox\n"), std::string::npos);
  EXPECT_FALSE(IsExecutable(path));

  ASSERT_TRUE(WriteDesktopEntry(scratch / "launch.desktop", entry, /*launchable=*/true));
  EXPECT_TRUE(IsExecutable(scratch / "launch.desktop"));
  EXPECT_FALSE(WriteDesktopEntry(scratch / "launch.desktop/x", entry, false));
}

TEST(DesktopEntryTest, OnlyOurOwnStaleShortcutsAreCleanedUp) {
  ScratchFolder scratch;
  for (const char* name : {"pvx.desktop", "Parlavox-Intercom.desktop", "PARLAVOX 2.desktop",
                           "parlavox.desktop", "mypvx.desktop", "pvx.txt", "gimp.desktop"}) {
    WriteFileText(scratch / name, "[Desktop Entry]\n");
  }
  DeleteForeignShortcuts(scratch.path());
  std::vector<std::string> left;
  for (const auto& item : std::filesystem::directory_iterator(scratch.path())) {
    left.push_back(item.path().filename());
  }
  std::sort(left.begin(), left.end());
  EXPECT_EQ(left, (std::vector<std::string>{"gimp.desktop", "mypvx.desktop", "parlavox.desktop",
                                            "pvx.txt"}));
  DeleteForeignShortcuts(scratch / "missing");  // nothing happens
}

}  // namespace
}  // namespace parlavox
