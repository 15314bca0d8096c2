#include "platform/announced_servers.h"

#include <set>
#include <sstream>

namespace parlavox {

std::vector<std::string> AnnouncedSmbServers(const ProgramRunner& run) {
  // Resolved services, one a line: "=;interface;protocol;name;type;domain;host;address;port;txt".
  const ProgramRun browsed =
      run({"timeout", "3", "avahi-browse", "--parsable", "--resolve", "--terminate", "_smb._tcp"});
  std::set<std::string> servers;
  std::istringstream lines(browsed.output);
  for (std::string line; std::getline(lines, line);) {
    std::vector<std::string> fields;
    std::istringstream parts(line);
    for (std::string field; std::getline(parts, field, ';');) fields.push_back(field);
    if (fields.size() < 9 || fields[0] != "=") continue;
    std::string host = fields[6];
    while (host.ends_with('.')) host.pop_back();
    if (host.empty()) continue;
    servers.insert(fields[8] == "445" ? "\\\\" + host : "smb://" + host + ":" + fields[8]);
  }
  return {servers.begin(), servers.end()};
}

}  // namespace parlavox
