#include "share/server_lookup.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <random>
#include <string>

namespace parlavox {

namespace {

constexpr uint16_t kNetbiosNamePort = 137;
constexpr uint8_t kFileServerType = 0x20;
constexpr uint16_t kTypeNb = 0x0020, kClassIn = 0x0001;

uint16_t Get16(const std::string& bytes, size_t at) {
  return uint16_t(uint8_t(bytes[at]) << 8 | uint8_t(bytes[at + 1]));
}

void Put16(std::string& bytes, uint16_t value) {
  bytes += char(value >> 8);
  bytes += char(value & 0xFF);
}

// A broadcast name query for `name`'s file server: the name upper-cased, padded with
// spaces to 15 characters, its type last, each byte sent as two letters from 'A' on.
std::string NameQuery(std::string_view name, uint16_t id) {
  std::string padded(15, ' ');
  for (size_t i = 0; i < name.size(); ++i) padded[i] = char(std::toupper(uint8_t(name[i])));
  padded += char(kFileServerType);
  std::string query;
  Put16(query, id);
  Put16(query, 0x0110);  // a query, recursion desired, broadcast
  Put16(query, 1);       // one question, nothing else
  query.append(6, '\0');
  query += char(32);
  for (const char byte : padded) {
    query += char('A' + (uint8_t(byte) >> 4));
    query += char('A' + (uint8_t(byte) & 0x0F));
  }
  query += '\0';
  Put16(query, kTypeNb);
  Put16(query, kClassIn);
  return query;
}

// The addresses a positive answer to query `id` gives; none for anything else.
std::vector<sockaddr_in> AnsweredAddresses(const std::string& answer, uint16_t id) {
  std::vector<sockaddr_in> addresses;
  if (answer.size() < 12 || Get16(answer, 0) != id) return addresses;
  const uint16_t flags = Get16(answer, 2);
  const bool positive_response = (flags & 0x8000) != 0 && (flags & 0x000F) == 0;
  if (!positive_response || Get16(answer, 6) == 0) return addresses;
  size_t at = 12;  // past the answer's name, its labels written out as Windows and Samba do
  while (at < answer.size() && answer[at] != 0) at += 1 + uint8_t(answer[at]);
  ++at;
  if (at + 10 > answer.size() || Get16(answer, at) != kTypeNb) return addresses;
  const size_t length = Get16(answer, at + 8);
  at += 10;
  for (size_t entry = at; entry + 6 <= std::min(answer.size(), at + length); entry += 6) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    std::memcpy(&address.sin_addr, answer.data() + entry + 2, 4);
    addresses.push_back(address);
  }
  return addresses;
}

}  // namespace

bool IsNetbiosName(std::string_view host) {
  return !host.empty() && host.size() <= 15 && host.find_first_of(".:") == std::string_view::npos;
}

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

std::vector<sockaddr_in> QueryNetbiosName(std::string_view name,
                                          const std::vector<sockaddr_in>& ask,
                                          std::chrono::milliseconds limit) {
  if (!IsNetbiosName(name) || ask.empty()) return {};
  const int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return {};
  const int on = 1;
  setsockopt(fd, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
  const uint16_t id = uint16_t(std::random_device()());
  const std::string query = NameQuery(name, id);
  bool sent = false;  // to any of them: where none can be reached, nobody answers
  for (const sockaddr_in& where : ask) {
    sent |= sendto(fd, query.data(), query.size(), MSG_NOSIGNAL,
                   reinterpret_cast<const sockaddr*>(&where), sizeof where) > 0;
  }
  const auto deadline = std::chrono::steady_clock::now() + limit;
  std::vector<sockaddr_in> found;
  for (auto left = limit; sent && found.empty() && left.count() > 0;
       left = std::chrono::duration_cast<std::chrono::milliseconds>(
           deadline - std::chrono::steady_clock::now())) {
    pollfd wait{fd, POLLIN, 0};
    if (poll(&wait, 1, static_cast<int>(left.count())) != 1) break;
    std::string answer(576, '\0');
    const ssize_t size = recv(fd, answer.data(), answer.size(), 0);
    if (size < 0) break;
    answer.resize(size_t(size));
    found = AnsweredAddresses(answer, id);
  }
  close(fd);
  return found;
}

std::vector<sockaddr_in> LocalNetbiosBroadcasts() {
  std::vector<sockaddr_in> broadcasts;
  ifaddrs* interfaces = nullptr;
  if (getifaddrs(&interfaces) != 0) return broadcasts;
  for (const ifaddrs* i = interfaces; i != nullptr; i = i->ifa_next) {
    const unsigned wanted = IFF_UP | IFF_BROADCAST;
    if ((i->ifa_flags & wanted) != wanted || (i->ifa_flags & IFF_LOOPBACK) != 0 ||
        i->ifa_broadaddr == nullptr || i->ifa_broadaddr->sa_family != AF_INET) {
      continue;
    }
    sockaddr_in broadcast = *reinterpret_cast<const sockaddr_in*>(i->ifa_broadaddr);
    broadcast.sin_port = htons(kNetbiosNamePort);
    broadcasts.push_back(broadcast);
  }
  freeifaddrs(interfaces);
  return broadcasts;
}

}  // namespace parlavox
