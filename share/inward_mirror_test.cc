#include "share/inward_mirror.h"

#include <fcntl.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include <gtest/gtest.h>

#include "audio/wave_file.h"
#include "share/message_file.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

// A fake server: a folder on this machine stands in for the one on the share.
class FolderAsServer : public RemoteFolder {
 public:
  explicit FolderAsServer(std::string folder) : folder_(std::move(folder)) {}

  std::optional<std::vector<File>> Files() override {
    ++listings;
    std::error_code error;
    std::vector<File> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder_, error)) {
      if (!entry.is_regular_file()) continue;
      struct stat status {};
      stat(entry.path().c_str(), &status);
      files.push_back({entry.path().filename().string(), status.st_size,
                       status.st_mtim.tv_sec * 1000000000LL + status.st_mtim.tv_nsec});
    }
    if (error) return std::nullopt;
    return files;
  }
  std::optional<std::string> Read(const std::string& name, int64_t offset, size_t size) override {
    if (fails_reads || !std::filesystem::exists(folder_ + "/" + name)) return std::nullopt;
    if (offset == 0) ++header_reads;
    const std::string text = FileText(folder_ + "/" + name);
    if (offset > static_cast<int64_t>(text.size())) return std::string();
    return text.substr(static_cast<size_t>(offset), size);
  }
  std::optional<std::string> ReadGrowing(const std::string& name, int64_t offset, size_t size,
                                         int64_t* size_now) override {
    const std::optional<std::string> bytes = Read(name, offset, size);
    if (bytes) *size_now = static_cast<int64_t>(FileText(folder_ + "/" + name).size());
    return bytes;
  }
  bool Remove(const std::string& name) override {
    return !refuses_removal && !held.contains(name) &&
           std::filesystem::remove(folder_ + "/" + name);
  }
  bool Hold(const std::string& name) override {
    if (writing) return false;
    held.insert(name);
    ++holds;
    return true;
  }
  void Release(const std::string& name) override { EXPECT_EQ(held.erase(name), 1u) << name; }
  bool WatchChanges(std::chrono::milliseconds, const std::function<bool()>&,
                    const std::function<void(bool)>&) override {
    return false;
  }

  std::set<std::string> held;
  bool writing = false;          // its caller has the file open
  bool fails_reads = false;      // the network hiccups
  bool refuses_removal = false;  // another has the file open
  int listings = 0, header_reads = 0, holds = 0;

 private:
  std::string folder_;
};

class InwardMirrorTest : public testing::Test {
 protected:
  InwardMirrorTest() {
    std::filesystem::create_directory(scratch_ / "server");
    std::filesystem::create_directory(scratch_ / "here");
  }
  std::string OnServer(const std::string& name) const { return scratch_ / ("server/" + name); }
  std::string Here(const std::string& name) const { return scratch_ / ("here/" + name); }
  // Appends to a file on the server, moving its time stamp on as a write would.
  void Append(const std::string& name, const std::string& text) {
    WriteFileText(OnServer(name), FileText(OnServer(name)) + text);
    Touch(OnServer(name));
  }
  void Touch(const std::string& path) {
    ++tick_;
    const timespec times[2] = {{tick_, 0}, {tick_, 0}};
    utimensat(AT_FDCWD, path.c_str(), times, 0);
  }

  ScratchFolder scratch_;
  FolderAsServer server_{scratch_ / "server"};
  InwardMirror mirror_{server_, scratch_ / "here"};
  time_t tick_ = 1000000;
};

TEST_F(InwardMirrorTest, AGrowingMessageIsCopiedAsItGrowsAndGoesFromTheServerOncePlayed) {
  Append("7.wav", "HEAD----");
  ASSERT_TRUE(mirror_.Sync());
  EXPECT_TRUE(mirror_.copied());
  EXPECT_EQ(FileText(Here("7.wav")), "HEAD----");
  Append("7.wav", "sound");
  ASSERT_TRUE(mirror_.Sync());
  EXPECT_EQ(FileText(Here("7.wav")), "HEAD----sound");
  {
    // The writer ends with the exact header, the size unchanged, while the copy is heard.
    const FileLock heard = LockMessage(Here("7.wav"), FileLock::Kind::kShared);
    WriteFileText(OnServer("7.wav"), "head----sound");
    Touch(OnServer("7.wav"));
    ASSERT_TRUE(mirror_.Sync());
    EXPECT_EQ(FileText(Here("7.wav")), "head----sound");
  }
  ASSERT_TRUE(mirror_.Sync());
  EXPECT_FALSE(mirror_.copied());
  EXPECT_TRUE(std::filesystem::exists(OnServer("7.wav")));

  std::filesystem::remove(Here("7.wav"));  // the inbox played it
  server_.refuses_removal = true;
  ASSERT_TRUE(mirror_.Sync());
  ASSERT_TRUE(mirror_.Sync());
  EXPECT_FALSE(std::filesystem::exists(Here("7.wav")));  // not copied again, to be heard twice
  server_.refuses_removal = false;
  ASSERT_TRUE(mirror_.Sync());
  EXPECT_FALSE(std::filesystem::exists(OnServer("7.wav")));
  EXPECT_FALSE(std::filesystem::exists(Here("7.wav")));

  // A caller stalled so long that the copy, followed, was heard; then spoke on: the
  // message stays on the server and comes down again whole (each part longer than a
  // header, which is read again where a copy grows).
  const std::string first = "HEAD" + std::string(6000, '1'), more(6000, '2');
  Append("8.wav", first);
  ASSERT_TRUE(mirror_.Sync());
  Append("8.wav", more);
  ASSERT_TRUE(mirror_.Follow());
  std::filesystem::remove(Here("8.wav"));
  Append("8.wav", "3");
  ASSERT_TRUE(mirror_.Sync());
  EXPECT_EQ(FileText(Here("8.wav")), first + more + "3");
}

// While a call goes on, its message is followed without listing the folder. The header
// of its copy claims an end that its caller moves on as it speaks: the copy never reaches
// it. Once the call has ended, following brings the last header, and asks for a listing
// at once to hold the message, though another caller still speaks.
TEST_F(InwardMirrorTest, AGrowingMessageIsFollowedWithoutListingAndItsCopyNeverLooksWhole) {
  const long open_files = OpenFileCount();
  auto writer = CreateWaveFileWriter(OnServer("7.wav"), 11025, 1, 16, 0);
  const std::vector<int32_t> second(11025, 4096);
  writer->Write(second.data(), 11025);
  ASSERT_TRUE(mirror_.Sync());
  const int listings = server_.listings;
  for (int spoken = 2; spoken <= 44; ++spoken) {
    writer->Write(second.data(), 11025);
    if (spoken == 10) {  // a listing far from that end leaves the header alone too
      const int header_reads = server_.header_reads;
      ASSERT_TRUE(mirror_.Sync());
      EXPECT_EQ(server_.header_reads, header_reads);
    } else {
      if (spoken == 20) {  // a read that fails is tried again at the next look
        server_.fails_reads = true;
        ASSERT_FALSE(mirror_.Follow());
        server_.fails_reads = false;
      }
      ASSERT_TRUE(mirror_.Follow()) << spoken;
    }
    ASSERT_FALSE(LookAtMessage(Here("7.wav"))->complete) << spoken;
    ASSERT_EQ(std::filesystem::file_size(Here("7.wav")),
              std::filesystem::file_size(OnServer("7.wav")))
        << spoken;
  }
  EXPECT_EQ(server_.listings, listings + 1);
  Append("8.wav", "HEAD----");  // another caller's, who speaks on
  ASSERT_TRUE(mirror_.Sync());
  const int listed = server_.listings;
  ASSERT_TRUE(writer->Finish());
  Append("8.wav", "more");
  EXPECT_FALSE(mirror_.Follow());
  EXPECT_EQ(server_.listings, listed);
  EXPECT_EQ(FileText(Here("7.wav")), FileText(OnServer("7.wav")));
  EXPECT_EQ(FileText(Here("8.wav")), FileText(OnServer("8.wav")));
  EXPECT_TRUE(LookAtMessage(Here("7.wav"))->complete);
  // Heard before that listing: it goes from the server, not taken for one sent anew.
  std::filesystem::remove(Here("7.wav"));
  ASSERT_TRUE(mirror_.Sync());
  EXPECT_FALSE(std::filesystem::exists(OnServer("7.wav")));
  EXPECT_FALSE(std::filesystem::exists(Here("7.wav")));
  writer.reset();
  EXPECT_EQ(OpenFileCount(), open_files);
}

// A message whose caller never finished it (the caller died, or gave up on a server that
// went away) stops changing here too, however often it is followed and listed: the inbox
// waits on a copy that claims more than it holds only while it changes.
TEST_F(InwardMirrorTest, AMessageItsCallerNeverFinishedStopsChangingHere) {
  auto writer = CreateWaveFileWriter(OnServer("7.wav"), 11025, 1, 16, 0);
  const std::vector<int32_t> second(11025, 4096);
  writer->Write(second.data(), 11025);
  ASSERT_TRUE(mirror_.Sync());
  mirror_.Follow();
  Touch(Here("7.wav"));
  const auto stamp = std::filesystem::last_write_time(Here("7.wav"));
  for (int pass = 0; pass < 3; ++pass) {
    mirror_.Follow();
    ASSERT_TRUE(mirror_.Sync());
  }
  EXPECT_EQ(std::filesystem::last_write_time(Here("7.wav")), stamp);
  EXPECT_EQ(FileText(Here("7.wav")), FileText(OnServer("7.wav")));
}

// Copied by listings alone, a message never looks whole before it ends either; once it
// has ended, with last words or without, it comes whole and is held at the next
// listings, also while it is heard.
TEST_F(InwardMirrorTest, AMessageCopiedByListingsAloneComesWholeOnlyOnceItEnds) {
  const std::vector<int32_t> second(11025, 4096);
  for (const bool last_words : {true, false}) {
    SCOPED_TRACE(last_words);
    auto writer = CreateWaveFileWriter(OnServer("7.wav"), 11025, 1, 16, 0);
    for (int spoken = 1; spoken <= 44; ++spoken) {
      writer->Write(second.data(), 11025);
      ASSERT_TRUE(mirror_.Sync());
      ASSERT_FALSE(LookAtMessage(Here("7.wav"))->complete) << spoken;
    }
    if (last_words) writer->Write(second.data(), 11025);
    ASSERT_TRUE(writer->Finish());
    {
      const FileLock heard = LockMessage(Here("7.wav"), FileLock::Kind::kShared);
      ASSERT_TRUE(mirror_.Sync());
      ASSERT_TRUE(mirror_.Sync());
      EXPECT_EQ(FileText(Here("7.wav")), FileText(OnServer("7.wav")));
      EXPECT_EQ(server_.held, std::set<std::string>{"7.wav"});
    }
    std::filesystem::remove(Here("7.wav"));
    ASSERT_TRUE(mirror_.Sync());
    ASSERT_FALSE(std::filesystem::exists(OnServer("7.wav")));
  }
}

TEST_F(InwardMirrorTest, AMessageSentAgainUnderItsNameIsCopiedAfreshButNeverOverOneBeingHeard) {
  // Each longer than a header, which is read again where a copy grows.
  const std::string first(6000, '1'), second(5000, '2'), third(9000, '3');
  Append("7.wav", first);
  ASSERT_TRUE(mirror_.Sync());
  {
    const FileLock heard = LockMessage(Here("7.wav"), FileLock::Kind::kShared);
    WriteFileText(OnServer("7.wav"), second);
    Touch(OnServer("7.wav"));
    ASSERT_TRUE(mirror_.Sync());
    Append("7.wav", second);  // past the first one's length
    ASSERT_TRUE(mirror_.Sync());
    EXPECT_EQ(FileText(Here("7.wav")), first);
  }
  ASSERT_TRUE(mirror_.Sync());
  EXPECT_EQ(FileText(Here("7.wav")), second + second);

  // Played here while a longer third one arrived there: that one stays, and comes down
  // whole.
  std::filesystem::remove(Here("7.wav"));
  WriteFileText(OnServer("7.wav"), third);
  Touch(OnServer("7.wav"));
  ASSERT_TRUE(mirror_.Sync());
  EXPECT_EQ(FileText(Here("7.wav")), third);
  EXPECT_TRUE(std::filesystem::exists(OnServer("7.wav")));
}

// A copy not held on the server yet is never written into by a message sent anew under
// its name (its caller called again at once), whether the copy had come whole or its
// message was cut before: the new one, longer, comes after it.
TEST_F(InwardMirrorTest, AMessageSentAnewOverOneNotHeldYetComesAfterIt) {
  const std::vector<int32_t> sound(1000, 4096);
  server_.writing = true;  // its caller has yet to let go of it
  for (const bool whole : {true, false}) {
    SCOPED_TRACE(whole);
    if (whole) {
      CreateWaveFileWriter(OnServer("7.wav"), 11025, 1, 16, 0)->Write(sound.data(), 1000);
    } else {
      Append("7.wav", "HEAD" + std::string(6000, '1'));
    }
    ASSERT_TRUE(mirror_.Sync());
    const std::string first = FileText(Here("7.wav"));
    {
      const FileLock waiting = LockMessage(Here("7.wav"), FileLock::Kind::kShared);
      WriteFileText(OnServer("7.wav"), "HEAD" + std::string(100, '2'));
      Touch(OnServer("7.wav"));
      EXPECT_FALSE(mirror_.Follow());           // the folder is to be listed
      Append("7.wav", std::string(9000, '2'));  // past the first one's length
      ASSERT_TRUE(mirror_.Sync());
      EXPECT_FALSE(mirror_.Follow());
      EXPECT_EQ(FileText(Here("7.wav")), first);
    }
    std::filesystem::remove(Here("7.wav"));  // heard
    ASSERT_TRUE(mirror_.Sync());
    EXPECT_EQ(FileText(Here("7.wav")), FileText(OnServer("7.wav")));
    std::filesystem::remove(Here("7.wav"));
    ASSERT_TRUE(mirror_.Sync());
    ASSERT_FALSE(std::filesystem::exists(OnServer("7.wav")));
  }
}

// A whole message is held on the server from when its writer lets go of it until it has
// been heard (its copy here deleted), and let go of before it is deleted there.
TEST_F(InwardMirrorTest, AWholeMessageIsHeldOnTheServerUntilItHasBeenHeard) {
  const std::vector<int32_t> sound(1000, 4096);
  CreateWaveFileWriter(OnServer("7.wav"), 11025, 1, 16, 0)->Write(sound.data(), 1000);
  Append("8.wav", "HEAD----");  // still growing: nothing to hold
  server_.writing = true;
  ASSERT_TRUE(mirror_.Sync());
  EXPECT_TRUE(server_.held.empty());
  server_.writing = false;
  ASSERT_TRUE(mirror_.Sync());
  EXPECT_EQ(server_.held, std::set<std::string>{"7.wav"});
  ASSERT_TRUE(mirror_.Sync());
  EXPECT_EQ(server_.holds, 1);  // held once, not let go and taken again in between
  std::filesystem::remove(Here("7.wav"));
  ASSERT_TRUE(mirror_.Sync());
  EXPECT_TRUE(server_.held.empty());
  EXPECT_FALSE(std::filesystem::exists(OnServer("7.wav")));
}

TEST_F(InwardMirrorTest, ClearingTakesOnlyMessagesAndAFolderThatIsGoneCantBeSyncedNorFollowed) {
  Append("7.wav", "old");
  Append("8.WAV", "old");
  Append("ParlavoxUserData", "record");
  Append("notes.txt", "notes");
  mirror_.ClearRemote();
  ASSERT_TRUE(mirror_.Sync());
  EXPECT_FALSE(mirror_.copied());
  EXPECT_FALSE(std::filesystem::exists(OnServer("7.wav")));
  EXPECT_FALSE(std::filesystem::exists(OnServer("8.WAV")));
  EXPECT_TRUE(std::filesystem::exists(OnServer("ParlavoxUserData")));
  EXPECT_FALSE(std::filesystem::exists(Here("notes.txt")));

  Append("9.wav", "HEAD----");  // growing when the folder goes
  ASSERT_TRUE(mirror_.Sync());
  std::filesystem::remove_all(scratch_ / "server");
  EXPECT_FALSE(mirror_.Follow());
  mirror_.ClearRemote();
  EXPECT_FALSE(mirror_.Sync());
}

TEST(LocalInwardFolderTest, AFolderOnAShareIsPlayedFromACopyOfItsOwnAndALocalOneFromItself) {
  EXPECT_EQ(LocalInwardFolder("/home/ann/Incoming"), "/home/ann/Incoming");
  setenv("XDG_RUNTIME_DIR", "/run/user/1000", 1);
  EXPECT_EQ(LocalInwardFolder("\\\\fileserver\\office\\ann"),
            "/run/user/1000/parlavox/inward/fileserver_office_ann");
  EXPECT_EQ(LocalInwardFolder("smb://fileserver:4445/office/ann"),
            "/run/user/1000/parlavox/inward/fileserver_4445_office_ann");
}

}  // namespace
}  // namespace parlavox
