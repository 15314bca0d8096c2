#include "share/server_lookup.h"

#include <netdb.h>

#include <algorithm>
#include <cstring>

#include "share/netbios.h"

namespace parlavox {

std::vector<sockaddr_storage> LookUpServer(const std::string& host, int port,
                                           std::chrono::milliseconds limit) {
  std::vector<sockaddr_storage> addresses;
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  if (getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &found) == 0) {
    for (const addrinfo* address = found; address != nullptr; address = address->ai_next) {
      sockaddr_storage copy{};
      std::memcpy(&copy, address->ai_addr, std::min<size_t>(address->ai_addrlen, sizeof copy));
      addresses.push_back(copy);
    }
    freeaddrinfo(found);
    return addresses;
  }
  for (sockaddr_in address : QueryNetbiosName(host, LocalNetbiosBroadcasts(), limit)) {
    address.sin_port = htons(uint16_t(port));
    sockaddr_storage copy{};
    std::memcpy(&copy, &address, sizeof address);
    addresses.push_back(copy);
  }
  return addresses;
}

}  // namespace parlavox
