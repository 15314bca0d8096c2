#include "setup/install_task.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "setup/package.h"
#include "setup/role_marker.h"
#include "setup/setup_fakes_test_util.h"
#include "setup/uninstall_task.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

namespace fs = std::filesystem;

class InstallTaskTest : public testing::Test {
 protected:
  InstallTaskTest() {
    places_.program_folder = scratch_ / "home/.local/share/parlavox";
    places_.data_folder = places_.program_folder;
    places_.inward_folder = places_.data_folder + "/Incoming";
    places_.applications_folder = scratch_ / "home/.local/share/applications";
    places_.icon_folder = scratch_ / "home/.local/share/icons/hicolor/scalable/apps";
    places_.autostart_folder = scratch_ / "home/.config/autostart";
    places_.desktop_folder = scratch_ / "home/Desktop";
    fs::create_directories(places_.desktop_folder);
    WriteFileText(scratch_ / "program", std::string(5000, 'p') + "ELF end");
    WriteFileText(scratch_ / "help", "<html>help</html>");
    const std::string files[] = {scratch_ / "program", scratch_ / "help"};
    EXPECT_TRUE(WritePackage(files, package_));
  }

  bool Install() {
    InstallTask task(places_, folders_, launcher_, package_, {"MIT terms", "<svg/>"}, [this] {
      ++agreements_;
      PrepareSetup(places_, folders_);
    });
    return task.Run(view_);
  }
  UninstallTask Uninstaller() {
    return UninstallTask(places_, folders_, launcher_, places_.uninstaller(), scratch_ / "tmp");
  }

  std::optional<std::string> Stored(const char* name) {
    return folders_.Read(FolderScope::kCurrentUser, name);
  }
  // Everything the install makes outside the program folder.
  std::vector<std::string> Entries() {
    std::vector<std::string> made;
    for (const std::string& path :
         {places_.menu_entry(), places_.help_entry(), places_.uninstall_entry(), places_.icon(),
          places_.desktop_shortcut(), places_.autostart_folder + "/parlavox.desktop"}) {
      if (fs::exists(path)) made.push_back(fs::path(path).filename());
    }
    return made;
  }

  ScratchFolder scratch_;
  std::string package_ = scratch_ / "parlavox-setup";
  InstallPlaces places_;
  FolderStore folders_{scratch_ / "home/.config/parlavox/folders.ini",
                       scratch_ / "etc/parlavox/folders.ini"};
  FakeSetupView view_;
  FakeLauncher launcher_;
  int agreements_ = 0;
};

TEST_F(InstallTaskTest, AnInstallPutsEverythingInPlaceAndStartsTheProgram) {
  ASSERT_TRUE(Install());
  EXPECT_EQ(view_.terms, "MIT terms");
  EXPECT_EQ(FileText(places_.program()), FileText(scratch_ / "program") + std::string(4, '\0'));
  EXPECT_EQ(FileText(places_.uninstaller()),
            FileText(scratch_ / "program") + std::string("\x0F\x0F\xF0\xF0"));
  EXPECT_EQ(FileText(places_.help()), "<html>help</html>");
  EXPECT_EQ(RoleOf(places_.program(), ReadRoleMarker(places_.program())), Role::kProgram);
  EXPECT_EQ(RoleOf(places_.uninstaller(), ReadRoleMarker(places_.uninstaller())),
            Role::kUninstaller);
  EXPECT_EQ(Stored("ProgramFiles"), places_.program_folder);
  EXPECT_EQ(Stored("DataFiles"), places_.data_folder);
  EXPECT_EQ(Stored("Incoming"), places_.inward_folder);
  struct stat inward {};
  ASSERT_EQ(stat(places_.inward_folder.c_str(), &inward), 0);
  EXPECT_EQ(inward.st_mode & 07777, 01777u);  // others drop messages in, only we delete
  struct stat program_folder {};
  ASSERT_EQ(stat(places_.program_folder.c_str(), &program_folder), 0);
  EXPECT_EQ(program_folder.st_mode & 0022, 0u);  // nobody else writes next to the program

  EXPECT_EQ(Entries().size(), 6u);
  EXPECT_NE(FileText(places_.autostart_folder + "/parlavox.desktop")
                .find("Exec=" + places_.program() + " /logon\n"),
            std::string::npos);
  EXPECT_NE(FileText(places_.uninstall_entry()).find("Name=Parlavox Uninstall\n"),
            std::string::npos);
  EXPECT_NE(FileText(places_.help_entry()).find("Exec=xdg-open " + places_.help()),
            std::string::npos);
  EXPECT_TRUE(IsExecutable(places_.desktop_shortcut()));
  EXPECT_EQ(FileText(places_.icon()), "<svg/>");
  EXPECT_EQ(launcher_.started, (std::vector<std::string>{places_.program() + " /install"}));
  EXPECT_EQ(view_.progress, 100);

  // Installed again, the uninstall entry stays as it was.
  WriteFileText(places_.uninstall_entry(), "[Desktop Entry]\nName=Kept\n");
  ASSERT_TRUE(Install());
  EXPECT_EQ(FileText(places_.uninstall_entry()), "[Desktop Entry]\nName=Kept\n");
  EXPECT_EQ(ReadRoleMarker(places_.program()), 0u);  // one marker, not two
  EXPECT_EQ(fs::file_size(places_.program()), 5007u + 4u);
}

TEST_F(InstallTaskTest, DeclinedCancelledOrDamagedNothingIsInstalled) {
  view_.accept_terms = false;
  EXPECT_FALSE(Install());
  EXPECT_EQ(agreements_, 0);  // nothing changed before the terms: no copy stopped
  EXPECT_FALSE(fs::exists(places_.program_folder));
  EXPECT_FALSE(Stored("Incoming"));
  EXPECT_FALSE(Stored("ProgramFiles"));

  view_.accept_terms = true;
  view_.cancel_after_looks = 1;  // during the program's extraction
  EXPECT_FALSE(Install());
  EXPECT_FALSE(fs::exists(places_.help()));
  EXPECT_TRUE(Entries().empty());
  EXPECT_TRUE(launcher_.started.empty());

  view_.cancel_after_looks = -1;
  std::string bytes = FileText(package_);
  bytes[100] = 'q';
  WriteFileText(package_, bytes);
  EXPECT_FALSE(Install());
  EXPECT_EQ(view_.shown.back(), "error Install Error: " + std::string(kCorruptPackageText));
  EXPECT_TRUE(Entries().empty());
  EXPECT_FALSE(fs::exists(places_.uninstaller()));
  EXPECT_TRUE(launcher_.started.empty());
}

TEST_F(InstallTaskTest, AMachineInstallLeavesEachPersonTheirOwnInwardFolder) {
  places_.folder_scope = FolderScope::kMachine;
  places_.shared_data = true;
  ASSERT_TRUE(Install());
  EXPECT_FALSE(folders_.Read(FolderScope::kMachine, "Incoming"));
  EXPECT_FALSE(fs::exists(places_.inward_folder));
  EXPECT_EQ(folders_.Read(FolderScope::kMachine, "ProgramFiles"), places_.program_folder);
  // Run by root, the install starts no intercom: it would be root's, for everybody.
  EXPECT_EQ(launcher_.started.empty(), geteuid() == 0);
}

TEST_F(InstallTaskTest, TheUninstallerHandsOverToACopyOfItself) {
  ASSERT_TRUE(Install());
  fs::create_directories(scratch_ / "tmp");
  EXPECT_FALSE(Uninstaller().Run(view_, /*second_stage=*/false, {"--user", "--yes"}));
  ASSERT_EQ(launcher_.replaced_with.size(), 1u);
  const std::string line = launcher_.replaced_with[0];
  const std::string copy = line.substr(0, line.find(' '));
  EXPECT_EQ(line.substr(copy.size()), " /uninstall --user --yes");
  EXPECT_EQ(fs::path(copy).parent_path().parent_path(), scratch_ / "tmp");
  EXPECT_EQ(FileText(copy), FileText(places_.uninstaller()));
  EXPECT_TRUE(fs::exists(places_.program()));  // nothing removed yet

  // The copy, once it has removed Parlavox, leaves nothing of itself behind.
  UninstallTask second(places_, folders_, launcher_, copy, scratch_ / "tmp");
  EXPECT_TRUE(second.Run(view_, /*second_stage=*/true, {}));
  EXPECT_FALSE(fs::exists(fs::path(copy).parent_path()));
}

TEST_F(InstallTaskTest, UninstallingRemovesTheInstallButNotTheServiceOrTheStoredFolders) {
  ASSERT_TRUE(Install());
  WriteFileText(places_.inward_folder + "/ParlavoxUserData", "record");
  WriteFileText(places_.data_folder + "/settings.ini", "[users]\n");
  const std::string unit = scratch_ / "home/.config/systemd/user/parlavox.service";
  fs::create_directories(fs::path(unit).parent_path());
  WriteFileText(unit, "[Service]\n");

  view_.confirm = false;
  EXPECT_FALSE(Uninstaller().Run(view_, /*second_stage=*/true, {}));
  EXPECT_EQ(view_.shown.end()[-2],
            "question Are you sure you want to remove Parlavox from this computer?");
  EXPECT_EQ(view_.shown.back(), "status Nothing was removed");
  EXPECT_EQ(Entries().size(), 6u);

  view_.confirm = true;
  EXPECT_TRUE(Uninstaller().Run(view_, /*second_stage=*/true, {}));
  EXPECT_TRUE(Entries().empty());
  EXPECT_FALSE(fs::exists(places_.program_folder));
  EXPECT_TRUE(fs::exists(unit));
  // What the install stored goes too, so that a later install starts afresh.
  for (const char* name : {"Incoming", "DataFiles", "ProgramFiles"}) EXPECT_FALSE(Stored(name));
}

TEST_F(InstallTaskTest, UninstallingTakesOnlyParlavoxFilesFromAChosenInwardFolder) {
  ASSERT_TRUE(Install());
  const std::string chosen = scratch_ / "home/Documents/Office inbox";
  fs::create_directories(chosen);
  folders_.Write(FolderScope::kCurrentUser, "Incoming", chosen);
  for (const char* name :
       {"ParlavoxUserData", "12.wav", "-7.WAV", "notes.odt", "song.wav", "2024.pdf"}) {
    WriteFileText(chosen + "/" + name, "x");
  }
  EXPECT_TRUE(Uninstaller().Run(view_, /*second_stage=*/true, {}));
  std::vector<std::string> left;
  for (const auto& entry : fs::directory_iterator(chosen)) left.push_back(entry.path().filename());
  std::sort(left.begin(), left.end());
  EXPECT_EQ(left, (std::vector<std::string>{"2024.pdf", "notes.odt", "song.wav"}));
  EXPECT_NE(std::find(view_.shown.begin(), view_.shown.end(),
                      "status Left " + chosen + ": it holds files that Parlavox did not make"),
            view_.shown.end());
  EXPECT_EQ(Stored("Incoming"), chosen);  // the person's own choice stays

  // Emptied of Parlavox's files alone, the folder goes; so does the program folder, but
  // not a subfolder of it that holds other things.
  for (const char* name : {"notes.odt", "song.wav", "2024.pdf"}) fs::remove(chosen + "/" + name);
  WriteFileText(chosen + "/13.wav", "x");
  ASSERT_TRUE(Install());
  fs::create_directories(places_.program_folder + "/kept");
  folders_.Write(FolderScope::kCurrentUser, "Incoming", chosen);
  EXPECT_TRUE(Uninstaller().Run(view_, /*second_stage=*/true, {}));
  EXPECT_FALSE(fs::exists(chosen));
  EXPECT_FALSE(fs::exists(places_.program()));
  EXPECT_TRUE(fs::exists(places_.program_folder + "/kept"));
}

}  // namespace
}  // namespace parlavox
