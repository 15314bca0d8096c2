#include "platform/user_share.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "util/paths.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

// net is a fake here: each case says what it answers.
TEST(UserShareTest, NetIsAskedForAGuestShareAndEachRefusalIsToldWithItsFix) {
  struct Case {
    ProgramRun answer;
    bool done;
    const char* said;  // a part of the sentence
  };
  const Case cases[] = {
      {{0, ""}, true, "smb://"},
      {{-1, ""}, false, "sudo apt install samba"},
      {{255,
        "net usershare add: cannot open the usershare directory /var/lib/samba/usershares. "
        "Error Permission denied"},
       false,
       "sudo usermod -aG sambashare $USER"},
      {{255, "net usershare: usershares are currently disabled"}, false, "usershare path"},
      {{255, "something else"}, false, "Samba refused the share: something else"},
  };
  for (const Case& c : cases) {
    std::vector<std::string> asked;
    const UserShareOutcome outcome =
        ShareInwardFolder("/home/ann/Incoming", [&](const std::vector<std::string>& argv) {
          if (argv[0] == "testparm") return ProgramRun{1, ""};  // no smb.conf: the host name
          asked = argv;
          return c.answer;
        });
    EXPECT_EQ(outcome.done, c.done) << c.said;
    EXPECT_NE(outcome.text.find(c.said), std::string::npos) << outcome.text;
    EXPECT_EQ(outcome.names.size(), c.done ? 2u : 0u);
    EXPECT_EQ(asked, (std::vector<std::string>{"net", "usershare", "add", UserShareName(),
                                               "/home/ann/Incoming", "Parlavox inward folder",
                                               "S-1-1-0:F", "guest_ok=y"}));
  }
  // Windows machines find this one by the NetBIOS name Samba answers for, which a long
  // host name is cut to; the smb:// name is the host's.
  const UserShareOutcome cut =
      ShareInwardFolder("/home/ann/Incoming", [](const std::vector<std::string>& argv) {
        if (argv[0] != "testparm") return ProgramRun{0, ""};
        EXPECT_EQ(argv,
                  (std::vector<std::string>{"testparm", "-s", "--parameter-name", "netbios name"}));
        return ProgramRun{0, "ANNA-THINKPAD-X1-CARBON\n"};
      });
  ASSERT_EQ(cut.names.size(), 2u);
  EXPECT_EQ(cut.names[0], "\\\\anna-thinkpad-x\\" + UserShareName());
  EXPECT_EQ(cut.names[1], "smb://" + HostName() + "/" + UserShareName());
  // A folder on a server needs no share of this machine.
  const UserShareOutcome on_server =
      ShareInwardFolder("\\\\fileserver\\office\\ann", [](const std::vector<std::string>&) {
        ADD_FAILURE() << "net was asked";
        return ProgramRun{};
      });
  EXPECT_TRUE(on_server.done);
  EXPECT_EQ(on_server.names, std::vector<std::string>{"\\\\fileserver\\office\\ann"});

  // A home closed to others (Debian's default) keeps guests out: said before net is asked.
  ScratchFolder scratch;
  std::filesystem::create_directories(scratch / "home/Incoming");
  std::filesystem::permissions(scratch / "home", std::filesystem::perms::owner_all);
  bool asked = false;
  const UserShareOutcome closed =
      ShareInwardFolder(scratch / "home/Incoming", [&](const std::vector<std::string>&) {
        asked = true;
        return ProgramRun{0, ""};
      });
  EXPECT_FALSE(closed.done);
  EXPECT_TRUE(closed.guests_kept_out);
  EXPECT_FALSE(asked);
  EXPECT_NE(closed.text.find("chmod o+x"), std::string::npos) << closed.text;
  EXPECT_NE(closed.text.find(scratch / "home" + ","), std::string::npos) << closed.text;
  // Asked to, it lets guests pass (not list) and shares.
  const UserShareOutcome opened = ShareInwardFolder(
      scratch / "home/Incoming",
      [](const std::vector<std::string>&) {
        return ProgramRun{0, ""};
      },
      /*let_guests_through=*/true);
  EXPECT_TRUE(opened.done) << opened.text;
  EXPECT_EQ(std::filesystem::status(scratch / "home").permissions(),
            std::filesystem::perms::owner_all | std::filesystem::perms::others_exec);

  // Only a share of the folder itself goes.
  for (const std::string shared : {"/home/ann/Incoming", "/home/ann/Other"}) {
    std::vector<std::string> deleted;
    const UserShareOutcome gone =
        UnshareInwardFolder("/home/ann/Incoming", [&](const std::vector<std::string>& argv) {
          if (argv[2] == "delete") deleted = argv;
          return ProgramRun{0, "[" + UserShareName() + "]\npath=" + shared + "\ncomment=\n"};
        });
    EXPECT_TRUE(gone.done);
    EXPECT_EQ(deleted.empty(), shared != "/home/ann/Incoming") << shared;
  }
}

// net and testparm are fakes here: the user share, then the shares of smb.conf.
TEST(UserShareTest, AFolderIsFoundInTheUserShareOrInAShareOfSmbConf) {
  const ProgramRunner run = [](const std::vector<std::string>& argv) {
    if (argv[0] == "net") return ProgramRun{0, "[x]\npath=/home/ann/Incoming\n"};
    return ProgramRun{0,
                      "Load smb config files from /etc/samba/smb.conf\n[global]\n\tpath = /\n"
                      "[homes]\n\tpath = %H\n[office]\n\tpath = /srv/office/\n"};
  };
  const std::pair<const char*, const char*> cases[] = {
      {"/home/ann/Incoming", "parlavox-"},  // the user share, whatever the login
      {"/srv/office", "office"},           {"/srv/office/ben/in", "office/ben/in"},
      {"/srv/officers/ben", ""},           {"/home/cid", ""},
  };
  for (const auto& [folder, share] : cases) {
    EXPECT_TRUE(SambaShareOf(folder, run).starts_with(share)) << folder;
    EXPECT_EQ(SambaShareOf(folder, run).empty(), *share == '\0') << folder;
  }
}

}  // namespace
}  // namespace parlavox
