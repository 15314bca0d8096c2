#include "setup/package.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <random>

#include "setup/role_marker.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

// Remembers what extracting showed, and cancels after `cancel_after` pieces.
class RecordedProgress : public ExtractionProgress {
 public:
  void Extracting(std::string_view file_name) override { files.emplace_back(file_name); }
  void Percent(int percent) override { percents.push_back(percent); }
  bool Cancelled() override { return ++pieces == cancel_after; }

  std::vector<std::string> files;
  std::vector<int> percents;
  int pieces = 0;
  int cancel_after = -1;
};

class PackageTest : public testing::Test {
 protected:
  PackageTest() {
    std::mt19937 random(7);
    std::string program(10000, '\0');  // more than two pieces, not a whole number of them
    for (char& byte : program) byte = static_cast<char>(random());
    WriteFileText(scratch_ / "program", program);
    WriteFileText(scratch_ / "help", "<html>help</html>");
    std::filesystem::create_directory(scratch_ / "to");
    const std::string files[] = {scratch_ / "program", scratch_ / "help"};
    EXPECT_TRUE(WritePackage(files, package_));
  }

  Extraction Extract(RecordedProgress& progress) {
    return ExtractPayload(package_, scratch_ / "to", kPayload, progress);
  }

  ScratchFolder scratch_;
  std::string package_ = scratch_ / "parlavox-setup";
};

TEST_F(PackageTest, APackageIsItsFilesBackToBackWithSizesChecksumAndMarkerAndGivesThemBack) {
  const std::string bytes = FileText(package_);
  ASSERT_EQ(bytes.size(), 10000u + 17u + 16u);
  EXPECT_EQ(bytes.substr(0, 10000), FileText(scratch_ / "program"));
  const std::string trailer = bytes.substr(bytes.size() - 16);
  const uint32_t sum = ByteSum(bytes.substr(0, 10017));
  const std::string expected{"\x10\x27\0\0\x11\0\0\0", 8};
  EXPECT_EQ(trailer.substr(0, 8), expected);
  EXPECT_EQ(static_cast<uint8_t>(trailer[8]), sum & 0xFF);
  EXPECT_EQ(ReadRoleMarker(package_), kInstallPackageMarker);
  EXPECT_EQ(RoleOf(package_, ReadRoleMarker(package_)), Role::kInstallPackage);

  // Extracted, it gives every file back byte for byte.
  RecordedProgress progress;
  ASSERT_EQ(Extract(progress), Extraction::kDone);
  EXPECT_EQ(FileText(scratch_ / "to/parlavox"), FileText(scratch_ / "program"));
  EXPECT_EQ(FileText(scratch_ / "to/parlavox-help.html"), "<html>help</html>");
  EXPECT_TRUE(IsExecutable(scratch_ / "to/parlavox"));
  EXPECT_EQ(progress.files, (std::vector<std::string>{"parlavox", "parlavox-help.html"}));
  EXPECT_TRUE(std::is_sorted(progress.percents.begin(), progress.percents.end()));
  EXPECT_EQ(progress.percents.front(), 4096 * 100 / 10017);
  EXPECT_EQ(progress.percents.back(), 100);
}

TEST_F(PackageTest, AChangedByteOrACutShortPackageIsCorrupt) {
  std::string bytes = FileText(package_);
  bytes[5000] ^= 0x01;
  WriteFileText(package_, bytes);
  RecordedProgress progress;
  EXPECT_EQ(Extract(progress), Extraction::kCorrupt);
  EXPECT_TRUE(std::filesystem::exists(scratch_ / "to/parlavox"));  // what was extracted stays

  std::filesystem::remove(scratch_ / "to/parlavox");
  WriteFileText(package_, bytes.substr(0, 6000) + bytes.substr(bytes.size() - 16));
  EXPECT_EQ(Extract(progress), Extraction::kCorrupt);
  EXPECT_FALSE(std::filesystem::exists(scratch_ / "to/parlavox"));  // found before writing
  WriteFileText(package_, "short");
  EXPECT_EQ(Extract(progress), Extraction::kCorrupt);
  EXPECT_EQ(ExtractPayload(scratch_ / "missing", scratch_ / "to", kPayload, progress),
            Extraction::kUnreadable);
}

TEST_F(PackageTest, CancellingStopsAfterThePieceAndAFileThatCantBeMadeIsSkipped) {
  RecordedProgress progress;
  progress.cancel_after = 2;
  EXPECT_EQ(Extract(progress), Extraction::kCancelled);
  EXPECT_EQ(std::filesystem::file_size(scratch_ / "to/parlavox"), 8192u);
  EXPECT_FALSE(std::filesystem::exists(scratch_ / "to/parlavox-help.html"));

  // A file that can't be made (its subfolder does not exist) is skipped but counted.
  const PayloadRow rows[] = {{"ProgramFiles", "parlavox", true}, {"", "help.html", false}};
  progress.cancel_after = -1;
  EXPECT_EQ(ExtractPayload(package_, scratch_ / "to", rows, progress), Extraction::kDone);
  EXPECT_EQ(FileText(scratch_ / "to/help.html"), "<html>help</html>");
  EXPECT_EQ(PayloadTarget("/p", rows[0]), "/p/ProgramFiles/parlavox");
  EXPECT_EQ(PayloadTarget("/p", {"Other", "x", false}), "/p/x");
}

TEST(RoleMarkerTest, TheLastFourBytesAndTheNameTellTheRole) {
  ScratchFolder scratch;
  const std::string file = scratch / "parlavox";
  EXPECT_EQ(ReadRoleMarker(file), 0u);  // missing
  WriteFileText(file, "ELF");
  EXPECT_EQ(ReadRoleMarker(file), 0u);  // shorter than a marker
  ASSERT_TRUE(AppendRoleMarker(file, kUninstallerMarker));
  EXPECT_EQ(FileText(file), std::string("ELF\x0F\x0F\xF0\xF0"));
  EXPECT_EQ(ReadRoleMarker(file), kUninstallerMarker);
  EXPECT_FALSE(AppendRoleMarker(scratch / "missing", 0));

  EXPECT_EQ(RoleOf("/opt/parlavox/parlavox", 0), Role::kProgram);
  EXPECT_EQ(RoleOf("/opt/parlavox/parlavox", 0x12345678), Role::kProgram);
  EXPECT_EQ(RoleOf("/tmp/x/parlavox-uninstall", kUninstallerMarker), Role::kUninstaller);
  EXPECT_EQ(RoleOf("/home/ann/Parlavox-Setup", kInstallPackageMarker), Role::kInstallPackage);
  EXPECT_EQ(RoleOf("/home/ann/Parlavox-Setup", 0x0F0FF0), Role::kCorruptPackage);
  EXPECT_EQ(RoleOf("/home/ann/mysetup.bin", kUninstallerMarker), Role::kCorruptPackage);
  EXPECT_EQ(RoleOf("/srv/setup/parlavox", 0), Role::kProgram);       // only the file's name counts
  EXPECT_EQ(RoleOf("/home/ann/parlavox.setup", 0), Role::kProgram);  // not its extension
}

}  // namespace
}  // namespace parlavox
