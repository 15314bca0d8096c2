#include "platform/announced_servers.h"

#include <gtest/gtest.h>

namespace parlavox {
namespace {

// avahi-browse is a fake here: Avahi's daemon would announce on the machine's real
// network, which tests keep off.
TEST(AnnouncedServersTest, ResolvedServicesGiveEachServerOnceAndNothingElseDoes) {
  const std::string browsed =
      "+;eth0;IPv4;fileserver;Microsoft Windows Network;local\n"
      "=;eth0;IPv4;fileserver;Microsoft Windows Network;local;fileserver.local;127.0.0.20;"
      "445;\"model=Xserve\"\n"
      "=;eth0;IPv6;fileserver;Microsoft Windows Network;local;fileserver.local;fe80::1;445;\n"
      "=;eth0;IPv4;nas;Microsoft Windows Network;local;nas.local.;127.0.0.30;4450;\n"
      "=;eth0;IPv4;broken;Microsoft Windows Network;local\n";
  std::vector<std::string> asked;
  EXPECT_EQ(AnnouncedSmbServers([&](const std::vector<std::string>& argv) {
              asked = argv;
              return ProgramRun{0, browsed};
            }),
            (std::vector<std::string>{"\\\\fileserver.local", "smb://nas.local:4450"}));
  EXPECT_EQ(asked[0], "timeout");
  EXPECT_EQ(asked.back(), "_smb._tcp");
  // No Avahi daemon: nothing, quietly.
  EXPECT_TRUE(AnnouncedSmbServers([](const std::vector<std::string>&) {
                return ProgramRun{255, "Failed to create client object: Daemon not running"};
              }).empty());
}

}  // namespace
}  // namespace parlavox
