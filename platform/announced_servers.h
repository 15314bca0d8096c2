#ifndef PARLAVOX_PLATFORM_ANNOUNCED_SERVERS_H_
#define PARLAVOX_PLATFORM_ANNOUNCED_SERVERS_H_

#include <string>
#include <vector>

#include "util/programs.h"

namespace parlavox {

// The file servers that announce themselves on the local network (DNS-SD "_smb._tcp"),
// asked of Avahi through avahi-browse by `run`, for at most 3 s: named as the Windows
// copies name a server ("\\fileserver.local"; "smb://fileserver.local:4450" off the
// usual port), each once, in name order. None where Avahi is not installed or its
// daemon does not run.
std::vector<std::string> AnnouncedSmbServers(const ProgramRunner& run);

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_ANNOUNCED_SERVERS_H_
