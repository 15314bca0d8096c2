#ifndef PARLAVOX_SHARE_SERVER_LOOKUP_H_
#define PARLAVOX_SHARE_SERVER_LOOKUP_H_

#include <sys/socket.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace parlavox {

// The addresses, each with port `port`, of the server called `host`, found within about
// `limit`; none where it can't be found.
using ServerLookup = std::function<std::vector<sockaddr_storage>(const std::string& host, int port,
                                                                 std::chrono::milliseconds limit)>;

// As the system's resolver knows `host`, or else, where it does not and `host` may be a
// NetBIOS name, as the machine answers for its name on this machine's networks
// (QueryNetbiosName on LocalNetbiosBroadcasts): how Windows machines and Samba's client
// library find a colleague's computer where no name server knows it. The resolver's
// time is not bounded by `limit`.
std::vector<sockaddr_storage> LookUpServer(const std::string& host, int port,
                                           std::chrono::milliseconds limit);

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_SERVER_LOOKUP_H_
