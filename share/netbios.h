#ifndef PARLAVOX_SHARE_NETBIOS_H_
#define PARLAVOX_SHARE_NETBIOS_H_

#include <netinet/in.h>

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

namespace parlavox {

// NetBIOS name service: how Windows machines, and Samba's, find each other on a small
// office's network where no name server knows them. Each machine answers for its own
// names on UDP port 137.

// Whether `host` may be a NetBIOS name: 1 to 15 characters, none of them a dot or a
// colon (so no address either).
bool IsNetbiosName(std::string_view host);

// The broadcast address, port 137, of each IPv4 network of this machine that is up,
// loopback left out.
std::vector<sockaddr_in> LocalNetbiosBroadcasts();

// The IPv4 addresses that the machine called `name` gives for its file server (name type
// 0x20), asked by a broadcast name query sent to each of `ask`: those of the first
// positive answer within `limit`. Empty where nobody answered in time, or where `name`
// can't be a NetBIOS name.
std::vector<sockaddr_in> QueryNetbiosName(std::string_view name,
                                          const std::vector<sockaddr_in>& ask,
                                          std::chrono::milliseconds limit);

// The names of the machines that serve files on the networks `ask` reaches: each machine
// that answers a broadcast query for any name ("*") within half of `limit` is asked for
// its names (a node status query to port 137 of the address it gave), and those with a
// file server's name (type 0x20) that answer within the other half are given,
// each once, in name order; one that gives that name blank (Samba does, where the host
// name is longer than a NetBIOS name holds) by its address.
std::vector<std::string> FindNetbiosFileServers(const std::vector<sockaddr_in>& ask,
                                                std::chrono::milliseconds limit);

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_NETBIOS_H_
