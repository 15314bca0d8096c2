#ifndef PARLAVOX_SHARE_SERVER_LOOKUP_H_
#define PARLAVOX_SHARE_SERVER_LOOKUP_H_

#include <netinet/in.h>
#include <sys/socket.h>

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
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

// The IPv4 addresses that the machine called `name` gives for its file server (NetBIOS
// name type 0x20), asked by a broadcast name query sent to each of `ask`: those of the
// first positive answer within `limit`. Empty where nobody answered in time, or where
// `name` can't be a NetBIOS name.
std::vector<sockaddr_in> QueryNetbiosName(std::string_view name,
                                          const std::vector<sockaddr_in>& ask,
                                          std::chrono::milliseconds limit);

// Whether `host` may be a NetBIOS name: 1 to 15 characters, none of them a dot or a
// colon (so no address either).
bool IsNetbiosName(std::string_view host);

// The broadcast address, port 137, of each IPv4 network of this machine that is up,
// loopback left out.
std::vector<sockaddr_in> LocalNetbiosBroadcasts();

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_SERVER_LOOKUP_H_
