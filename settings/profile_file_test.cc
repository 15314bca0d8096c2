#include "settings/profile_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "util/atomic_file.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

class ProfileFileTest : public testing::Test {
 protected:
  std::string Read(std::string_view section, std::string_view key) {
    return ReadProfileString(file_, section, key, "<none>");
  }

  ScratchFolder folder_;
  std::string file_ = folder_ / "settings.ini";
};

TEST_F(ProfileFileTest, ReadsWithWindowsProfileSemantics) {
  WriteFileText(file_,
                "; a comment=not a key\r\n"
                "[Users]\r\n"
                "  Name0 =  Alice Smith  \r\n"
                "name0=second wins never\n"
                "empty=\n"
                "line without equals\n"
                "[users]\n"
                "name1=in a duplicate section\n"
                "  [other]\n"  // indented, as Windows allows
                "name0=Bob");  // no trailing newline
  EXPECT_EQ(Read("users", "NAME0"), "Alice Smith");
  EXPECT_EQ(Read("USERS", "empty"), "");
  EXPECT_EQ(Read("users", "name1"), "<none>");  // only the first section counts
  EXPECT_EQ(Read("other", "name0"), "Bob");
  EXPECT_EQ(Read("users", "; a comment"), "<none>");
  EXPECT_EQ(Read("missing", "name0"), "<none>");
  EXPECT_EQ(FindProfileString(file_, "users", "nothing"), std::nullopt);
  EXPECT_EQ(FindProfileString(folder_ / "absent.ini", "users", "name0"), std::nullopt);
}

TEST_F(ProfileFileTest, ReadsQuotesMarksAndLineEndsAsWindowsDoes) {
  WriteFileText(file_,
                "\xEF\xBB\xBF[users]\r\n"  // a byte-order mark before the first section
                "foldercount=\"1\"\r\n"
                "folder0='/path with spaces'\r\n"
                "name0=\"Ann's\r\n"
                "name1=\"\"\r\n");
  EXPECT_EQ(Read("users", "foldercount"), "1");
  EXPECT_EQ(Read("users", "folder0"), "/path with spaces");
  EXPECT_EQ(Read("users", "name0"), "\"Ann's");  // no matching pair: kept as written
  EXPECT_EQ(Read("users", "name1"), "");

  // A file with Windows line ends keeps them when keys and sections are added.
  ASSERT_TRUE(WriteProfileString(file_, "users", "id0", "7"));
  ASSERT_TRUE(WriteProfileString(file_, "keys", "keycount", "0"));
  EXPECT_EQ(FileText(file_),
            "\xEF\xBB\xBF[users]\r\n"
            "foldercount=\"1\"\r\n"
            "folder0='/path with spaces'\r\n"
            "name0=\"Ann's\r\n"
            "name1=\"\"\r\n"
            "id0=7\r\n"
            "[keys]\r\n"
            "keycount=0\r\n");
}

TEST_F(ProfileFileTest, AReadSeesWhatAnotherProcessWroteJustBefore) {
  ASSERT_TRUE(WriteProfileString(file_, "users", "name0", "Ann"));
  EXPECT_EQ(Read("users", "name0"), "Ann");
  for (const char* name : {"Bob", "Cyd", "Dan"}) {  // the same size, within one second
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) _exit(WriteProfileString(file_, "users", "name0", name) ? 0 : 1);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(Read("users", "name0"), name);
  }
  // Replaced behind the program's back, with the same size, time stamp and all.
  struct stat before {};
  ASSERT_EQ(stat(file_.c_str(), &before), 0);
  WriteFileText(file_ + ".new", "[users]\nname0=Eve\n");
  const timespec stamps[2] = {before.st_atim, before.st_mtim};
  ASSERT_EQ(utimensat(AT_FDCWD, (file_ + ".new").c_str(), stamps, 0), 0);
  std::filesystem::rename(file_ + ".new", file_);
  EXPECT_EQ(Read("users", "name0"), "Eve");
}

TEST_F(ProfileFileTest, SurvivesHostileFiles) {
  std::string garbage = "\x01\x02[[[\n=\n]]]=x\n[s]\nbinary=a";
  garbage += std::string("\0\xff\xfe", 3);
  garbage += "b\nlong=" + std::string(100'000, 'L') + "\nafter=ok\n[t\nunclosed=1\n";
  WriteFileText(file_, garbage);
  EXPECT_EQ(Read("s", "binary"), std::string("a\0\xff\xfe"
                                             "b",
                                             5));
  EXPECT_EQ(Read("s", "long"), std::string(kMaxProfileValue, 'L'));
  EXPECT_EQ(Read("s", "after"), "ok");
  EXPECT_EQ(Read("t", "unclosed"), "1");

  ASSERT_TRUE(WriteProfileString(file_, "s", "after", "changed"));
  EXPECT_EQ(Read("s", "after"), "changed");
  EXPECT_EQ(Read("s", "long"), std::string(kMaxProfileValue, 'L'));
  EXPECT_NE(FileText(file_).find(std::string(100'000, 'L')), std::string::npos);

  // A FIFO in the file's place is no file: reading and writing it must not wait for a
  // writer that never comes.
  std::filesystem::remove(file_);
  ASSERT_EQ(mkfifo(file_.c_str(), 0600), 0);
  EXPECT_EQ(Read("s", "after"), "<none>");
  EXPECT_FALSE(WriteProfileString(file_, "s", "after", "x"));
  EXPECT_EQ(ReadWholeFile(file_), std::nullopt);
  // Nor is a folder, which is never replaced by a file.
  std::filesystem::remove(file_);
  std::filesystem::create_directory(file_);
  EXPECT_FALSE(WriteProfileString(file_, "users", "id0", "1"));
  EXPECT_TRUE(std::filesystem::is_directory(file_));
  EXPECT_FALSE(WriteProfileString(folder_ / "no/such/folder.ini", "users", "id0", "1"));
}

TEST_F(ProfileFileTest, WritesChangeOnlyWhatTheyNameAndOnlyWhenItChanges) {
  WriteFileText(file_,
                "; kept\n"
                "[users]\n"
                "FolderCount=1\n"
                "folder0=/srv/alice\n"
                "\n"
                "[keys]\n"
                "keycount=0\n");
  ASSERT_TRUE(WriteProfileString(file_, "USERS", "foldercount", "2"));
  ASSERT_TRUE(WriteProfileString(file_, "users", "folder1", "/srv/bob"));
  ASSERT_TRUE(WriteProfileString(file_, "settings", "soundoutvolume", "0dB"));
  ASSERT_TRUE(WriteProfileString(file_, "keys", "keycount", std::nullopt));
  ASSERT_TRUE(WriteProfileString(file_, "keys", "missing", std::nullopt));
  EXPECT_EQ(FileText(file_),
            "; kept\n"
            "[users]\n"
            "FolderCount=2\n"
            "folder0=/srv/alice\n"
            "folder1=/srv/bob\n"
            "\n"
            "[keys]\n"
            "[settings]\n"
            "soundoutvolume=0dB\n");

  // A value can't break out of its line.
  ASSERT_TRUE(WriteProfileString(file_, "users", "name0", "Eve\n[evil]\r\nfolder0=/evil"));
  EXPECT_EQ(Read("users", "name0"), "Eve [evil]  folder0=/evil");
  EXPECT_EQ(Read("evil", "folder0"), "<none>");

  // Writes that change nothing leave the disk alone.
  struct stat before {};
  ASSERT_EQ(stat(file_.c_str(), &before), 0);
  ASSERT_TRUE(WriteProfileString(file_, "users", "folder1", "/srv/bob"));
  ASSERT_TRUE(WriteProfileString(file_, "users", "id9", std::nullopt));
  struct stat after {};
  ASSERT_EQ(stat(file_.c_str(), &after), 0);
  EXPECT_EQ(before.st_ino, after.st_ino);  // every real write makes a new file

  // A key of the same name in another section, an empty section, and a file whose last
  // line has no newline, as one edited by hand may be.
  WriteFileText(file_, "[a]\nk=1\n[empty]\n[b]\nk=2");
  ASSERT_TRUE(WriteProfileString(file_, "b", "k", "3"));
  ASSERT_TRUE(WriteProfileString(file_, "empty", "e", "4"));
  ASSERT_TRUE(WriteProfileString(file_, "b", "n", "5"));
  EXPECT_EQ(FileText(file_), "[a]\nk=1\n[empty]\ne=4\n[b]\nk=3\nn=5\n");
  WriteFileText(file_, "[a]\nk=1");
  ASSERT_TRUE(WriteProfileString(file_, "c", "m", "6"));
  EXPECT_EQ(FileText(file_), "[a]\nk=1\n[c]\nm=6\n");

  // Reading a file that changed leaves nothing open, however often it changes.
  const long open_files = OpenFileCount();
  for (int i = 0; i < 10; ++i) {
    ASSERT_TRUE(WriteProfileString(file_, "a", "k", std::to_string(i)));
    EXPECT_EQ(Read("a", "k"), std::to_string(i));
  }
  EXPECT_EQ(OpenFileCount(), open_files);

  ASSERT_TRUE(WriteProfileString(folder_ / "new.ini", "a", "b", std::nullopt));
  EXPECT_FALSE(std::filesystem::exists(folder_ / "new.ini"));
}

// Two processes rewrite one file as fast as they can, each its own key, while
// checking that every read sees a whole file: the fixed key is always there and
// each key only ever moves forward. At the end neither lost a write.
TEST_F(ProfileFileTest, TwoProcessesHammeringOneFileNeverSeeHalfAFile) {
  constexpr int kRounds = 400;
  ASSERT_TRUE(WriteProfileString(file_, "users", "fixed", "always here"));
  auto hammer = [&](const std::string& mine, const std::string& theirs) {
    int last_theirs = 0;
    for (int i = 1; i <= kRounds; ++i) {
      if (!WriteProfileString(file_, "users", mine, std::to_string(i))) return 1;
      if (ReadProfileString(file_, "users", "fixed", "") != "always here") return 2;
      if (ReadProfileString(file_, "users", mine, "") != std::to_string(i)) return 3;
      const int seen = std::stoi(ReadProfileString(file_, "users", theirs, "0"));
      if (seen < last_theirs) return 4;
      last_theirs = seen;
    }
    return 0;
  };
  pid_t children[2];
  for (int c = 0; c < 2; ++c) {
    children[c] = fork();
    ASSERT_GE(children[c], 0);
    if (children[c] == 0) _exit(c == 0 ? hammer("first", "second") : hammer("second", "first"));
  }
  for (pid_t child : children) {
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
  }
  EXPECT_EQ(Read("users", "first"), std::to_string(kRounds));
  EXPECT_EQ(Read("users", "second"), std::to_string(kRounds));
  for (const auto& entry : std::filesystem::directory_iterator(folder_.path())) {
    EXPECT_EQ(entry.path().filename().string().find(".tmp"), std::string::npos) << entry.path();
  }
}

}  // namespace
}  // namespace parlavox
