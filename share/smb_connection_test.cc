#include "share/smb_connection.h"

#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>

#include <gtest/gtest.h>

#include "share/credentials.h"
#include "share/folder_access.h"
#include "share/samba_server_test_util.h"
#include "share/samba_threads.h"
#include "util/child_process_test_util.h"
#include "util/eventually_test_util.h"
#include "util/scratch_folder_test_util.h"
#include "words/share_name.h"

namespace parlavox {
namespace {

TEST(CredentialsTest, AreReadPerHostAndRefusedWhenOthersMayReadThem) {
  ScratchFolder scratch;
  const std::string path = scratch / "credentials.ini";
  WriteFileText(path, "[fileserver]\nusername=anna\npassword=secret\ndomain=OFFICE\n");
  chmod(path.c_str(), 0600);
  const CredentialsFile file(path);
  std::string refusal;
  const Credentials anna = file.For("fileserver", &refusal);
  EXPECT_EQ(anna.username, "anna");
  EXPECT_EQ(anna.password, "secret");
  EXPECT_EQ(anna.domain, "OFFICE");
  EXPECT_TRUE(file.For("other", &refusal).username.empty());  // a guest
  EXPECT_TRUE(refusal.empty());

  chmod(path.c_str(), 0644);  // as ssh refuses a key that others may read
  EXPECT_TRUE(file.For("fileserver", &refusal).username.empty());
  EXPECT_NE(refusal.find("may be read by others"), std::string::npos) << refusal;

  // An account saved in the desktop's store (a fake store here) serves where the file
  // names none, also while the file is refused; the file's own wins.
  const CredentialsFile with_saved(path, [](const std::string& host) {
    return host == "other" || host == "fileserver" ? std::optional<Credentials>({"saved", "pw", ""})
                                                   : std::nullopt;
  });
  EXPECT_EQ(with_saved.For("fileserver", nullptr).username, "saved");  // file refused
  chmod(path.c_str(), 0600);
  EXPECT_EQ(with_saved.For("fileserver", nullptr).username, "anna");
  EXPECT_EQ(with_saved.For("other", nullptr).username, "saved");
  EXPECT_TRUE(with_saved.For("third", nullptr).username.empty());

  // One typed after a refusal comes before all of them, for its host only.
  GivenAccounts given;
  const CredentialsFile with_given(path, {}, &given);
  given.Give("fileserver", {"typed", "pw2", "HOME"});
  EXPECT_EQ(with_given.For("fileserver", nullptr).username, "typed");
  EXPECT_EQ(with_given.For("fileserver", nullptr).domain, "HOME");
  EXPECT_TRUE(with_given.For("other", nullptr).username.empty());
}

// A server that accepts the connection and never answers, as a machine that hangs: a
// read gives up without waiting out the time-out in the library's turn (where it would
// make every other server's work wait), and the reads after it, such as those of a
// message's writes queued meanwhile, fail at once rather than a second each. A server
// whose name is found nowhere is said to be so, not to be silent.
TEST(SmbConnectionTest, AServerThatNeverAnswersOrIsFoundNowhereIsGivenUpOnWithoutHoldingUpOthers) {
  const SilentListener silent;
  ASSERT_NE(silent.port(), 0);
  std::vector<std::string> looked_up;
  SmbConnections connections{
      CredentialsFile("/nonexistent/credentials.ini"),
      [&](const std::string& host, int port, std::chrono::milliseconds limit) {
        looked_up.push_back(host + ":" + std::to_string(port));
        return host == "OFFICEPC" ? std::vector<sockaddr_storage>{}
                                  : LookUpServer(host, port, limit);
      }};
  for (const auto& [folder, trouble] : std::vector<std::pair<std::string, std::string>>{
           {silent.Folder("s"), "Server 127.0.0.5 does not answer"},
           {"\\\\OFFICEPC\\s", "Server OFFICEPC can't be found on the network"}}) {
    const ShareLocation location = *ParseShareName(folder);
    const auto began = std::chrono::steady_clock::now();
    for (int attempt = 0; attempt < 10; ++attempt) {
      int error = 0;
      EXPECT_FALSE(
          connections.For(location).ReadAt(SmbUrl(location, "ParlavoxUserData"), 0, 128, &error));
      EXPECT_EQ(connections.For(location).Trouble(error, location), trouble) << error;
    }
    EXPECT_LT(std::chrono::steady_clock::now() - began, SmbConnection::kTimeout);
  }
  EXPECT_NE(std::find(looked_up.begin(), looked_up.end(), "OFFICEPC:445"), looked_up.end());
}

// One Samba server for the tests below, with the share "office".
class SambaShareTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    scratch_ = new ScratchFolder;
    std::filesystem::create_directories(*scratch_ / "office/inward");
    samba_ = new SambaServer(*scratch_ / "samba", {{"office", *scratch_ / "office"}});
  }
  static void TearDownTestSuite() {
    delete samba_;
    delete scratch_;
  }
  void SetUp() override { ASSERT_TRUE(samba_->Answers(std::chrono::seconds(10))) << samba_->log(); }

  // A relay from `from` to the server, which can be stopped and killed.
  static std::unique_ptr<ChildProcess> StartRelay(const std::string& from) {
    auto started = std::make_unique<ChildProcess>(
        std::vector<std::string>{"/usr/bin/python3", PARLAVOX_TCP_RELAY, from, "127.0.0.1:445",
                                 "0"},
        std::vector<std::string>{"PATH=/usr/bin:/bin"}, *scratch_ / "relay.out",
        *scratch_ / "relay.err");
    EXPECT_TRUE(Eventually([&] { return FileText(*scratch_ / "relay.out") == "relaying\n"; }));
    return started;
  }

  static inline ScratchFolder* scratch_;
  static inline SambaServer* samba_;
  SmbConnections connections_{CredentialsFile("/nonexistent/credentials.ini")};
  const ShareLocation inward_ = *ParseShareName("smb://127.0.0.1/office/inward");
};

// A wait for changes that runs again and again, as the own inward folder's mirror waits,
// must still let every other operation on the library have its turn (a copy that could
// not publish itself off never ended); where the library may run on several threads the
// operations go on beside one wait that is never given up (giving up costs a connection),
// which tells of a file come in apart from other changes (the mirror lists the folder
// for the one at once, even while it follows a message). It looks often: a thread that
// waits must end soon when asked to.
TEST_F(SambaShareTest, AWaitForChangesThatRunsOnLetsEveryOperationHaveItsTurn) {
  const auto began = std::chrono::steady_clock::now();
  std::atomic<bool> stop = false;
  std::atomic<int> waits = 0, arrivals = 0, others = 0;
  std::thread mirror([&] {
    const std::unique_ptr<SmbConnection> watching = connections_.NewBackground(inward_);
    const std::unique_ptr<SmbConnection> listing = connections_.NewBackground(inward_);
    while (!stop) {
      ++waits;
      watching->WatchChanges(
          SmbUrl(inward_), std::chrono::seconds(30), [&] { return stop.load(); },
          [&](bool arrived) { ++(arrived ? arrivals : others); });
      listing->List(SmbUrl(inward_));
    }
  });
  ASSERT_TRUE(Eventually([&] { return waits > 0; }));
  // Its first look tells of what may have changed before the server took the request.
  EXPECT_TRUE(Eventually([&] { return others > 0; }));
  EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(2));
  // Operations now and then, as the presence poll and calls do, each while the wait runs.
  const std::string message = *scratch_ / "office/inward/102.wav";
  for (int i = 0; i < 10; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    EXPECT_TRUE(connections_.For(inward_).List(SmbUrl(inward_)).has_value()) << i;
    if (i == 2) WriteFileText(message, "RIFF");
  }
  EXPECT_TRUE(Eventually([&] { return arrivals > 0; }));
  const int arrived = arrivals, before = others;
  std::filesystem::remove(message);
  EXPECT_TRUE(Eventually([&] { return others > before; }));
  EXPECT_EQ(arrivals, arrived);
  if (LetSambaRunOnSeveralThreads()) {
    EXPECT_EQ(waits, 1);
  }
  const auto stopping = std::chrono::steady_clock::now();
  stop = true;
  mirror.join();
  EXPECT_LT(std::chrono::steady_clock::now() - stopping, std::chrono::seconds(2));
}

// A listing gives every file with its size and time stamp and tells folders apart;
// a folder that is not there can't be listed. A folder named as Windows names it is
// found though its name reads as an escape in an smb:// address.
TEST_F(SambaShareTest, AListingGivesTheFilesAsTheyAreAndTellsFoldersApart) {
  const std::filesystem::path listed = *scratch_ / "office/listed";
  std::filesystem::create_directories(listed / "Team%20A");
  WriteFileText(listed / "5.wav", "RIFFxx");
  struct stat status {};
  ASSERT_EQ(stat((listed / "5.wav").c_str(), &status), 0);
  SmbConnection& connection = connections_.For(inward_);
  auto entries = connection.List("smb://127.0.0.1/office/listed");
  ASSERT_TRUE(entries.has_value());
  std::sort(entries->begin(), entries->end(),
            [](const auto& a, const auto& b) { return a.name < b.name; });
  ASSERT_EQ(entries->size(), 2u);
  EXPECT_EQ((*entries)[0].name, "5.wav");
  EXPECT_EQ((*entries)[0].size, 6);
  EXPECT_NEAR(double((*entries)[0].modified_ns),
              double(status.st_mtim.tv_sec * 1000000000LL + status.st_mtim.tv_nsec), 1000.0);
  EXPECT_FALSE((*entries)[0].is_folder);
  EXPECT_EQ((*entries)[1].name, "Team%20A");
  EXPECT_TRUE((*entries)[1].is_folder);
  EXPECT_TRUE(connection.List(SmbUrl(*ParseShareName("\\\\127.0.0.1\\office\\listed\\Team%20A"))));
  int error = 0;
  EXPECT_FALSE(connection.List("smb://127.0.0.1/office/gone", &error));
  EXPECT_EQ(error, ENOENT);
}

// A message held by the copy that plays it can't be written or deleted by a caller, who
// learns that it is busy; let go, it can be cut for the next call.
TEST_F(SambaShareTest, AFileHeldAgainstWritingIsBusyForOthersUntilLetGo) {
  const std::string url = SmbUrl(inward_, "101.wav");
  SmbConnection& caller = connections_.For(inward_);
  ASSERT_TRUE(caller.WriteWhole(url, "RIFF"));
  const std::unique_ptr<SmbConnection> player = connections_.NewBackground(inward_);
  {
    const std::unique_ptr<WritableFile> writing = caller.OpenForWriting(url);
    int error = 0;
    EXPECT_EQ(player->Hold(url, &error), nullptr);  // the caller still writes it
    EXPECT_EQ(error, EBUSY);
  }
  {
    // Taken away on the server's own disk while it is written (by a callee whose
    // folder its own Samba shares): the caller's handle goes on, the name is gone.
    const std::unique_ptr<WritableFile> writing = caller.OpenForWriting(url);
    EXPECT_FALSE(caller.Missing(url));
    std::filesystem::remove(*scratch_ / "office/inward/101.wav");
    EXPECT_TRUE(caller.Missing(url));
  }
  ASSERT_TRUE(caller.WriteWhole(url, "RIFF"));
  std::unique_ptr<SmbConnection::HeldFile> held = player->Hold(url);
  ASSERT_NE(held, nullptr);
  int error = 0;
  EXPECT_EQ(caller.OpenForWriting(url, &error), nullptr);
  EXPECT_EQ(error, EBUSY);
  EXPECT_FALSE(caller.Remove(url));
  EXPECT_EQ(player->ReadAt(url, 0, 4), "RIFF");  // reading goes on
  int64_t size_now = 0;
  EXPECT_EQ(player->ReadAt(url, 2, 100, nullptr, &size_now), "FF");
  EXPECT_EQ(player->ReadAt(url, 9, 100, nullptr, &size_now), "");
  EXPECT_EQ(size_now, 4);
  held.reset();
  EXPECT_NE(caller.OpenForWriting(url), nullptr);
  EXPECT_TRUE(player->Remove(url));
}

// Samba, reached through a relay that can go away and come back. A message being written
// loses nothing when its connection is dropped or its server is away for a while, and a
// server that stopped answering is used again as soon as it answers.
TEST_F(SambaShareTest, AMessageGoesOnWhereItWasOnceTheConnectionOrTheServerIsBack) {
  const auto relay = [] { return StartRelay("127.0.0.1:4452"); };
  const ShareLocation relayed = *ParseShareName("smb://127.0.0.1:4452/office/inward");
  SmbConnection& connection = connections_.For(relayed);
  const std::string url = SmbUrl(relayed, "ParlavoxUserData");
  auto running = relay();
  ASSERT_TRUE(connection.WriteWhole(url, "record"));
  const std::unique_ptr<WritableFile> message = connection.OpenForWriting(SmbUrl(relayed, "7.wav"));
  ASSERT_TRUE(message->WriteAt("abcd", 4, 0));
  running.reset();
  running = relay();
  EXPECT_TRUE(message->WriteAt("efgh", 4, 4));

  running.reset();
  EXPECT_TRUE(message->WriteAt("ijkl", 4, 8));  // kept until the server is back
  EXPECT_FALSE(message->Resize(12));            // but no other change is
  int error = 0;
  EXPECT_FALSE(connection.ReadAt(url, 0, 128, &error));
  EXPECT_EQ(connection.Trouble(error, relayed), "Server 127.0.0.1 does not answer") << error;
  running = relay();
  EXPECT_EQ(connection.ReadAt(url, 0, 128, &error), "record") << error;
  EXPECT_TRUE(message->WriteAt("mnop", 4, 12));

  // Let go of while the server is away, it is finished once the server is back, where
  // that is soon; as the program ends, it is not waited for.
  running.reset();
  EXPECT_TRUE(message->WriteAt("qrst", 4, 16));
  std::thread back([&] {
    std::this_thread::sleep_for(std::chrono::seconds(1));
    running = relay();
  });
  EXPECT_TRUE(message->Close());
  back.join();
  EXPECT_EQ(FileText(*scratch_ / "office/inward/7.wav"), "abcdefghijklmnopqrst");
  // Nor where the server is back but the message is gone from it.
  const std::unique_ptr<WritableFile> gone = connection.OpenForWriting(SmbUrl(relayed, "6.wav"));
  ASSERT_TRUE(gone && gone->WriteAt("abcd", 4, 0));
  running.reset();
  EXPECT_TRUE(gone->WriteAt("efgh", 4, 4));
  std::filesystem::remove(*scratch_ / "office/inward/6.wav");
  running = relay();
  auto closing = std::chrono::steady_clock::now();
  EXPECT_FALSE(gone->Close());
  EXPECT_LT(std::chrono::steady_clock::now() - closing, SmbConnection::kFinishPatience / 3);
  const std::unique_ptr<WritableFile> late = connection.OpenForWriting(SmbUrl(relayed, "8.wav"));
  ASSERT_TRUE(late && late->WriteAt("abcd", 4, 0));
  running.reset();
  EXPECT_TRUE(late->WriteAt("efgh", 4, 4));
  std::thread leaving([&] {
    std::this_thread::sleep_for(std::chrono::seconds(1));
    connections_.Leave();
  });
  closing = std::chrono::steady_clock::now();
  EXPECT_FALSE(late->Close());
  EXPECT_LT(std::chrono::steady_clock::now() - closing, SmbConnection::kFinishPatience / 3);
  leaving.join();
}

// A server that stopped answering after it was read (a colleague's machine gone to
// sleep). A presence read in the background finds out outside the library's turns,
// where the library's time-outs would hold up every other server's work (and waits for
// no turn to say so); a wait for
// changes on it ends at once when cut off, as for a thread that is to stop; and leaving
// the server waits for no farewell.
TEST_F(SambaShareTest, AServerThatStoppedAnsweringHoldsUpNobodyAndIsLeftAtOnce) {
  const std::unique_ptr<ChildProcess> relay = StartRelay("127.0.0.1:4453");
  const std::string folder = "smb://127.0.0.1:4453/office/inward";
  WriteFileText(*scratch_ / "office/inward/ParlavoxUserData", std::string(kUserRecordSize, 'r'));
  auto smb = std::make_unique<SmbConnections>(CredentialsFile("/nonexistent/credentials.ini"));
  UserRecord record;
  std::string trouble;
  ASSERT_TRUE(ReadRecordInFolder(*smb, &record, folder, &trouble, /*background=*/true));
  const ShareLocation relayed = *ParseShareName(folder);
  const std::unique_ptr<SmbConnection> watching = smb->NewBackground(relayed);
  ASSERT_TRUE(watching->List(SmbUrl(relayed)));
  std::unique_ptr<WritableFile> message =
      smb->For(relayed).OpenForWriting(SmbUrl(relayed, "9.wav"));
  ASSERT_TRUE(message && message->WriteAt("abcd", 4, 0));

  std::atomic<bool> waited = false, reported = true;
  std::thread waiter([&] {
    reported = watching->WatchChanges(
        SmbUrl(relayed), std::chrono::seconds(30), [] { return false; }, [](bool) {});
    waited = true;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(500));  // for the wait to be asked
  relay->Signal(SIGSTOP);
  // A call into the folder goes on: its first write waits out the library's time-out,
  // and the server is known to be silent from then on, not waited for at every write.
  const auto writing = std::chrono::steady_clock::now();
  for (int i = 1; i <= 5; ++i) EXPECT_TRUE(message->WriteAt("efgh", 4, 4 * i));  // kept
  EXPECT_LT(std::chrono::steady_clock::now() - writing, 3 * SmbConnection::kTimeout);
  smb->Leave();  // as the program ends: the message is not waited for
  message.reset();
  // The read needs no turn either: another operation holds it meanwhile.
  std::atomic<bool> holding = false, read = false;
  std::thread holder([&] {
    const SmbConnection::Turn turn(true);
    holding = true;
    Eventually([&] { return read.load(); }, std::chrono::seconds(6));
  });
  ASSERT_TRUE(Eventually([&] { return holding.load(); }));
  const auto began = std::chrono::steady_clock::now();
  EXPECT_FALSE(ReadRecordInFolder(*smb, &record, folder, &trouble, /*background=*/true));
  EXPECT_LT(std::chrono::steady_clock::now() - began, SmbConnection::kTimeout);
  read = true;
  holder.join();
  EXPECT_EQ(trouble, "Server 127.0.0.1 does not answer");

  watching->CutOffIfSilent();
  EXPECT_TRUE(Eventually([&] { return waited.load(); }, SmbConnection::kTimeout / 2));
  waiter.join();
  EXPECT_FALSE(reported);  // a wait cut off is no report of changes
  const auto leaving = std::chrono::steady_clock::now();
  smb.reset();
  EXPECT_LT(std::chrono::steady_clock::now() - leaving, SmbConnection::kTimeout / 2);
  relay->Signal(SIGCONT);
}

}  // namespace
}  // namespace parlavox
