#include "util/programs.h"

#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include <gtest/gtest.h>

#include "util/eventually_test_util.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

// A descriptor of this process that is not close-on-exec, as an SMB connection's is:
// no program started from here may hold it.
class ProgramsTest : public testing::Test {
 protected:
  ~ProgramsTest() override { close(connection_); }

  // Shell words that say "inherited" where the shell holds that descriptor.
  std::string SaysWhetherInherited() const {
    return "[ -e /proc/$$/fd/" + std::to_string(connection_) + " ] && echo inherited; ";
  }

  const int connection_ = socket(AF_INET, SOCK_STREAM, 0);
};

TEST_F(ProgramsTest, ARunGivesTheExitCodeAndBothStreamsAndNothingElseOfOurs) {
  ASSERT_GT(connection_, STDERR_FILENO);
  const ProgramRun run =
      RunProgram({"sh", "-c", SaysWhetherInherited() + "echo out; echo err >&2; exit 3"});
  EXPECT_EQ(run.exit_code, 3);
  EXPECT_EQ(run.output, "out\nerr");
  EXPECT_EQ(RunProgram({"sh", "-c", "cat; echo read"}).output, "read");  // input is empty
  EXPECT_EQ(RunProgram({"parlavox-no-such-program"}).exit_code, -1);
}

TEST_F(ProgramsTest, AStartedProgramRunsInASessionOfItsOwnAndHoldsNothingOfOurs) {
  ScratchFolder scratch;
  const std::string said = scratch / "said";
  // Into the file named first: whether its session (the sixth field of /proc/<pid>/stat)
  // is its own, and whether it inherited the descriptor.
  ASSERT_TRUE(StartProgram({"sh", "-c",
                            "exec >> \"$0\"; set -- $(cat /proc/$$/stat); "
                            "[ \"$6\" = $$ ] && echo own session; " +
                                SaysWhetherInherited() + "echo done",
                            said}));
  EXPECT_TRUE(
      Eventually([&] { return FileText(said).ends_with("done\n"); }, std::chrono::seconds(5)));
  EXPECT_EQ(FileText(said), "own session\ndone\n");
  EXPECT_FALSE(StartProgram({"parlavox-no-such-program"}));
}

TEST_F(ProgramsTest, AWatchedProgramSaysWhenItEndedAndHow) {
  ScratchFolder scratch;
  const std::string go = scratch / "go";
  ASSERT_EQ(mkfifo(go.c_str(), 0600), 0);
  WatchedProgram program({"sh", "-c", "read line < \"$0\"; exit 3", go});
  ASSERT_TRUE(program.started());
  pollfd end{program.end_descriptor(), POLLIN, 0};
  EXPECT_EQ(poll(&end, 1, 100), 0);  // still running
  std::ofstream(go) << "go\n";
  EXPECT_EQ(poll(&end, 1, 10000), 1);
  EXPECT_EQ(program.Wait(), 3);

  WatchedProgram missing({"parlavox-no-such-program"});
  EXPECT_FALSE(missing.started());
  EXPECT_EQ(missing.end_descriptor(), -1);
  EXPECT_EQ(missing.Wait(), -1);
}

}  // namespace
}  // namespace parlavox
