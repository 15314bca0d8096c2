#include "words/user_record.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>

#include <gtest/gtest.h>

#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

TEST(UserRecordTest, FileLayoutIsExactly128LittleEndianBytes) {
  ScratchFolder folder;
  UserRecord record;
  record.flags = 0x80000005;  // on, plus bits nobody interprets
  record.id = -2;
  record.SetName("Ann");
  record.SetEmail("ann@example.org");
  const std::string path = folder / "ParlavoxUserData";
  ASSERT_TRUE(WriteUserRecord(record, path));

  const std::string bytes = FileText(path);
  ASSERT_EQ(bytes.size(), 128u);
  EXPECT_EQ(bytes.substr(0, 8), std::string("\x05\x00\x00\x80\xfe\xff\xff\xff", 8));
  EXPECT_EQ(bytes.substr(8, 4), std::string("Ann\0", 4));
  EXPECT_EQ(bytes.substr(68, 16), std::string("ann@example.org\0", 16));
  EXPECT_EQ(bytes.substr(84), std::string(44, '\0'));

  UserRecord back;
  ASSERT_TRUE(ReadUserRecord(&back, path));
  EXPECT_EQ(back.flags, 0x80000005u);
  EXPECT_TRUE(back.is_on());
  EXPECT_EQ(back.id, -2);
  EXPECT_EQ(back.Name(), "Ann");
  EXPECT_EQ(back.Email(), "ann@example.org");
  back.set_on(false);
  EXPECT_EQ(back.flags, 0x80000004u);
}

TEST(UserRecordTest, ShortAndOverlongFilesAreReadAsFarAsTheyGoAndOnlyRegularFilesAtAll) {
  ScratchFolder folder;
  const std::string path = folder / "ParlavoxUserData";
  const long open_files = OpenFileCount();  // records are read at every poll

  WriteFileText(path, std::string("\x01\x00\x00\x00", 4));
  UserRecord fresh;
  ASSERT_TRUE(ReadUserRecord(&fresh, path));
  EXPECT_TRUE(fresh.is_on());
  EXPECT_EQ(fresh.id, 0);
  EXPECT_EQ(fresh.Name(), "");

  UserRecord earlier;  // bytes the file doesn't reach keep what was there
  earlier.id = 77;
  earlier.SetName("Kept");
  ASSERT_TRUE(ReadUserRecord(&earlier, path));
  EXPECT_EQ(earlier.id, 77);
  EXPECT_EQ(earlier.Name(), "Kept");

  WriteFileText(path, "");
  UserRecord empty;
  EXPECT_TRUE(ReadUserRecord(&empty, path));
  EXPECT_FALSE(empty.is_on());

  WriteFileText(path, std::string(8, '\0') + std::string(200, 'N'));
  UserRecord full;
  ASSERT_TRUE(ReadUserRecord(&full, path));
  EXPECT_EQ(full.Name(), std::string(59, 'N'));
  EXPECT_EQ(full.Email(), std::string(59, 'N'));

  // Only a regular file counts as a record.
  EXPECT_FALSE(ReadUserRecord(&full, folder / "missing"));
  EXPECT_FALSE(ReadUserRecord(&full, folder.path()));
  const std::string pipe = folder / "pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_FALSE(ReadUserRecord(&full, pipe));  // and does not hang
  EXPECT_FALSE(WriteUserRecord(full, folder / "no/such/folder/ParlavoxUserData"));
  EXPECT_EQ(OpenFileCount(), open_files);
}

// Another user's link in place of the record, in a shared folder whose sticky bit keeps
// it from being replaced: not written through. Needs root, to be two users.
TEST(UserRecordTest, ARecordIsNotWrittenThroughAnotherUsersLink) {
  if (getuid() != 0) GTEST_SKIP() << "needs root to act as two users";
  ScratchFolder folder;
  const std::string shared = folder / "Incoming", mine = folder / "mine";
  std::filesystem::create_directory(shared);
  std::filesystem::permissions(shared,
                               std::filesystem::perms::all | std::filesystem::perms::sticky_bit);
  std::filesystem::permissions(folder.path(), std::filesystem::perms::all);
  WriteFileText(mine, "precious");
  ASSERT_EQ(chown(mine.c_str(), 65534, 65534), 0);
  std::filesystem::create_symlink(mine, shared + "/ParlavoxUserData");  // root's link
  const pid_t child = fork();
  ASSERT_GE(child, 0);
  if (child == 0) {  // the person, who owns "mine"
    if (setgid(65534) != 0 || setuid(65534) != 0) _exit(2);
    _exit(WriteUserRecord(UserRecord{}, shared + "/ParlavoxUserData") ? 1 : 0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(WEXITSTATUS(status), 0);  // refused
  EXPECT_EQ(FileText(mine), "precious");
}

TEST(UserRecordTest, NamesAreTheSameTextForWindowsCopiesAndAreCutWhole) {
  // What a Windows copy writes: its ANSI code page, Windows-1252.
  UserRecord windows;
  std::memcpy(windows.name.data(), "Jos\xe9 \x80 \x81", 8);
  EXPECT_EQ(windows.Name(), "Jos\xc3\xa9 \xe2\x82\xac \xef\xbf\xbd");  // José € and a stand-in

  // What this copy writes: Windows-1252 where every character fits, so that Windows
  // copies read it; UTF-8 for the rest, which they can't show either way.
  UserRecord ours;
  ours.SetName("Jos\xc3\xa9");
  EXPECT_EQ(std::string(ours.name.data()), "Jos\xe9");
  EXPECT_EQ(ours.Name(), "Jos\xc3\xa9");
  ours.SetName("\xc5\x81ucja");  // Łucja
  EXPECT_EQ(std::string(ours.name.data()), "\xc5\x81ucja");
  EXPECT_EQ(ours.Name(), "\xc5\x81ucja");
  std::string accents;
  for (int i = 0; i < 70; ++i) accents += "\xc3\xa9";
  ours.SetName(accents);  // 59 characters of one byte each
  EXPECT_EQ(std::string(ours.name.data()), std::string(59, '\xe9'));

  // Texts are cut without splitting a character.
  ours.SetName(std::string(58, 'a') + "\xc5\x81");  // "Ł" would end at byte 60
  EXPECT_EQ(ours.Name(), std::string(58, 'a'));
  ours.SetName(std::string(70, 'b'));
  EXPECT_EQ(ours.Name(), std::string(59, 'b'));
  ours.SetEmail("x");
  EXPECT_EQ(ours.Email(), "x");
}

}  // namespace
}  // namespace parlavox
