#include "share/netbios.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cctype>
#include <cstring>
#include <functional>
#include <optional>
#include <random>
#include <set>

namespace parlavox {

namespace {

constexpr uint16_t kNamePort = 137;
constexpr uint8_t kFileServerType = 0x20;
constexpr uint16_t kTypeNb = 0x0020, kTypeNodeStatus = 0x0021, kClassIn = 0x0001;
constexpr uint16_t kBroadcastQuery = 0x0110;  // a query, recursion desired, broadcast
constexpr uint16_t kDirectQuery = 0x0000;
// Any name: what a node status query asks about, and a name every machine answers for.
const std::string kAnyName = std::string("*") + std::string(15, '\0');

uint16_t Get16(std::string_view bytes, size_t at) {
  return uint16_t(uint8_t(bytes[at]) << 8 | uint8_t(bytes[at + 1]));
}

void Put16(std::string& bytes, uint16_t value) {
  bytes += char(value >> 8);
  bytes += char(value & 0xFF);
}

uint16_t NewQueryId() { return uint16_t(std::random_device()()); }

// A file server's name as it is asked for: upper-cased, padded with spaces to 15
// characters, and its type.
std::string FileServerName(std::string_view name) {
  std::string padded(15, ' ');
  for (size_t i = 0; i < name.size(); ++i) padded[i] = char(std::toupper(uint8_t(name[i])));
  return padded + char(kFileServerType);
}

// A packet of one question, of `type`, about the 16-byte NetBIOS `name`: each of its
// bytes is sent as two letters from 'A' on.
std::string Question(uint16_t id, uint16_t flags, std::string_view name, uint16_t type) {
  std::string packet;
  Put16(packet, id);
  Put16(packet, flags);
  Put16(packet, 1);  // one question, nothing else
  packet.append(6, '\0');
  packet += char(2 * name.size());
  for (const char byte : name) {
    packet += char('A' + (uint8_t(byte) >> 4));
    packet += char('A' + (uint8_t(byte) & 0x0F));
  }
  packet += '\0';
  Put16(packet, type);
  Put16(packet, kClassIn);
  return packet;
}

// The data of the answer, of `type`, in a positive response to question `id`; nullopt
// for any other packet.
std::optional<std::string_view> AnswerData(std::string_view packet, uint16_t id, uint16_t type) {
  if (packet.size() < 12 || Get16(packet, 0) != id) return std::nullopt;
  const uint16_t flags = Get16(packet, 2);
  const bool positive_response = (flags & 0x8000) != 0 && (flags & 0x000F) == 0;
  if (!positive_response || Get16(packet, 6) == 0) return std::nullopt;
  size_t at = 12;  // past the answer's name, its labels written out as Windows and Samba do
  while (at < packet.size() && packet[at] != 0) at += 1 + uint8_t(packet[at]);
  ++at;
  if (at + 10 > packet.size() || Get16(packet, at) != type) return std::nullopt;
  return packet.substr(at + 10, Get16(packet, at + 8));
}

// The addresses in a name's answer: flags and an address each.
std::vector<sockaddr_in> Addresses(std::string_view data) {
  std::vector<sockaddr_in> addresses;
  for (size_t at = 0; at + 6 <= data.size(); at += 6) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    std::memcpy(&address.sin_addr, data.data() + at + 2, 4);
    addresses.push_back(address);
  }
  return addresses;
}

// The file server's name in a machine's answer to a node status query: a count, then 15
// characters, a type and flags for each of its names (one of type 0x20 is the file
// server's).
std::optional<std::string> FileServerIn(std::string_view data) {
  const size_t count = data.empty() ? 0 : uint8_t(data[0]);
  for (size_t i = 0, at = 1; i < count && at + 18 <= data.size(); ++i, at += 18) {
    if (uint8_t(data[at + 15]) == kFileServerType) {
      std::string name(data.substr(at, 15));
      name.erase(name.find_last_not_of(' ') + 1);
      return name;
    }
  }
  return std::nullopt;
}

// A UDP socket that may broadcast.
class NameServiceSocket {
 public:
  NameServiceSocket() : fd_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const int on = 1;
    setsockopt(fd_, SOL_SOCKET, SO_BROADCAST, &on, sizeof on);
  }
  ~NameServiceSocket() { close(fd_); }
  NameServiceSocket(const NameServiceSocket&) = delete;
  NameServiceSocket& operator=(const NameServiceSocket&) = delete;

  // Sends `packet` to each of `to`; whether it went anywhere (where it did not, nobody
  // answers).
  bool Send(const std::string& packet, const std::vector<sockaddr_in>& to) {
    bool sent = false;
    for (const sockaddr_in& where : to) {
      sent |= sendto(fd_, packet.data(), packet.size(), MSG_NOSIGNAL,
                     reinterpret_cast<const sockaddr*>(&where), sizeof where) > 0;
    }
    return sent;
  }

  // Hands `take` each packet that comes before `deadline`, and who sent it, until it
  // has what it waits for.
  void Receive(std::chrono::steady_clock::time_point deadline,
               const std::function<bool(std::string_view packet, const sockaddr_in& from)>& take) {
    std::string packet(576, '\0');
    for (;;) {
      const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
          deadline - std::chrono::steady_clock::now());
      pollfd wait{fd_, POLLIN, 0};
      if (left.count() <= 0 || poll(&wait, 1, static_cast<int>(left.count())) != 1) return;
      sockaddr_in from{};
      socklen_t from_size = sizeof from;
      const ssize_t size = recvfrom(fd_, packet.data(), packet.size(), 0,
                                    reinterpret_cast<sockaddr*>(&from), &from_size);
      if (size < 0 || take(std::string_view(packet.data(), size_t(size)), from)) return;
    }
  }

 private:
  const int fd_;
};

}  // namespace

bool IsNetbiosName(std::string_view host) {
  return !host.empty() && host.size() <= 15 && host.find_first_of(".:") == std::string_view::npos;
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
    broadcast.sin_port = htons(kNamePort);
    broadcasts.push_back(broadcast);
  }
  freeifaddrs(interfaces);
  return broadcasts;
}

std::vector<sockaddr_in> QueryNetbiosName(std::string_view name,
                                          const std::vector<sockaddr_in>& ask,
                                          std::chrono::milliseconds limit) {
  std::vector<sockaddr_in> found;
  if (!IsNetbiosName(name)) return found;
  NameServiceSocket socket;
  const uint16_t id = NewQueryId();
  if (socket.Send(Question(id, kBroadcastQuery, FileServerName(name), kTypeNb), ask)) {
    socket.Receive(std::chrono::steady_clock::now() + limit,
                   [&](std::string_view packet, const sockaddr_in&) {
                     if (const auto data = AnswerData(packet, id, kTypeNb))
                       found = Addresses(*data);
                     return !found.empty();
                   });
  }
  return found;
}

std::vector<std::string> FindNetbiosFileServers(const std::vector<sockaddr_in>& ask,
                                                std::chrono::milliseconds limit) {
  NameServiceSocket socket;
  const auto half_way = std::chrono::steady_clock::now() + limit / 2;
  const uint16_t any_id = NewQueryId();
  std::vector<sockaddr_in> machines;
  if (socket.Send(Question(any_id, kBroadcastQuery, kAnyName, kTypeNb), ask)) {
    std::set<in_addr_t> seen;
    socket.Receive(half_way, [&](std::string_view packet, const sockaddr_in&) {
      if (const auto data = AnswerData(packet, any_id, kTypeNb)) {
        for (sockaddr_in machine : Addresses(*data)) {
          machine.sin_port = htons(kNamePort);
          if (seen.insert(machine.sin_addr.s_addr).second) machines.push_back(machine);
        }
      }
      return false;  // how many machines answer is not known: all are waited for
    });
  }
  std::set<std::string> servers;
  const uint16_t status_id = NewQueryId();
  if (socket.Send(Question(status_id, kDirectQuery, kAnyName, kTypeNodeStatus), machines)) {
    size_t answered = 0;
    socket.Receive(half_way + limit / 2, [&](std::string_view packet, const sockaddr_in& from) {
      const auto data = AnswerData(packet, status_id, kTypeNodeStatus);
      if (!data) return false;
      // A machine whose name is longer than a NetBIOS name holds (Samba's, named after
      // a long host name) gives its names blank: it is named by its address.
      if (const auto name = FileServerIn(*data)) {
        char address[INET_ADDRSTRLEN] = {};
        inet_ntop(AF_INET, &from.sin_addr, address, sizeof address);
        servers.insert(!name->empty() ? *name : std::string(address));
      }
      return ++answered == machines.size();
    });
  }
  return {servers.begin(), servers.end()};
}

}  // namespace parlavox
