#include "share/server_lookup.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "util/child_process_test_util.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

sockaddr_in Address(const char* ip, uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  inet_pton(AF_INET, ip, &address.sin_addr);
  return address;
}

// A stand-in for a Windows machine that answers for its NetBIOS name on 127.0.0.7, port
// 137, where Samba's nmblookup asks too (so it needs root); no real one runs here, and
// Samba's nmbd serves no loopback network. It answers as the test tells it.
class NameServiceStandIn {
 public:
  NameServiceStandIn() : fd_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    const sockaddr_in here = address();
    bound_ = bind(fd_, reinterpret_cast<const sockaddr*>(&here), sizeof here) == 0;
    timeval wait{5, 0};
    setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
  }
  ~NameServiceStandIn() { close(fd_); }

  bool bound() const { return bound_; }
  static sockaddr_in address() { return Address("127.0.0.7", 137); }

  // The next query, and whom to answer; "" after 5 s of waiting.
  std::pair<std::string, sockaddr_in> Receive() {
    std::string query(576, '\0');
    sockaddr_in from{};
    socklen_t size = sizeof from;
    const ssize_t got =
        recvfrom(fd_, query.data(), query.size(), 0, reinterpret_cast<sockaddr*>(&from), &size);
    query.resize(got > 0 ? size_t(got) : 0);
    return {query, from};
  }

  // Answers `query` with `flags` (0x8500: a positive, authoritative answer; its last four
  // bits an error) and the name's addresses, its number changed by `other_query`.
  void Answer(const std::string& query, const sockaddr_in& to, uint16_t flags,
              const std::vector<const char*>& addresses, uint16_t other_query = 0) {
    const auto put16 = [](std::string& bytes, uint16_t value) {
      bytes += char(value >> 8);
      bytes += char(value & 0xFF);
    };
    std::string answer;
    put16(answer, uint16_t((uint8_t(query[0]) << 8 | uint8_t(query[1])) + other_query));
    put16(answer, flags);
    for (const uint16_t count : {0, 1, 0, 0}) put16(answer, count);
    answer += query.substr(12, 34);                                          // the name as asked
    for (const uint16_t field : {0x20, 1, 0, 0x493E}) put16(answer, field);  // NB, IN, TTL
    put16(answer, uint16_t(6 * addresses.size()));
    for (const char* ip : addresses) {
      put16(answer, 0);  // a unique name of a broadcast node
      const sockaddr_in address = Address(ip, 0);
      answer.append(reinterpret_cast<const char*>(&address.sin_addr), 4);
    }
    sendto(fd_, answer.data(), answer.size(), 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
  }

 private:
  const int fd_;
  bool bound_ = false;
};

std::vector<std::string> Ips(const std::vector<sockaddr_in>& addresses) {
  std::vector<std::string> ips;
  for (const sockaddr_in& address : addresses) ips.push_back(inet_ntoa(address.sin_addr));
  return ips;
}

// Samba's nmblookup, asking as its library asks for a server, is the measure: our query
// is byte for byte its query (but for the query's number), and an answer it reads is
// read alike. Answers to another query, and refusals, are passed over.
TEST(ServerLookupTest, ANetbiosNameIsAskedForAndItsAnswerReadAsSambaDoes) {
  NameServiceStandIn stand_in;
  if (!stand_in.bound()) GTEST_SKIP() << "port 137 needs root";
  std::string samba_found;
  std::jthread samba(
      [&] { samba_found = ShellOutput("nmblookup -B 127.0.0.7 'OFFICEPC#20' 2>&1"); });
  const auto [samba_query, samba_asker] = stand_in.Receive();
  ASSERT_EQ(samba_query.size(), 50u);
  stand_in.Answer(samba_query, samba_asker, 0x8500, {"127.0.0.9"});
  samba.join();
  EXPECT_NE(samba_found.find("127.0.0.9 OFFICEPC<20>"), std::string::npos) << samba_found;

  std::vector<sockaddr_in> found;
  std::jthread ours([&] { found = QueryNetbiosName("OfficePC", {stand_in.address()}, 5s); });
  const auto [query, asker] = stand_in.Receive();
  EXPECT_EQ(query.substr(2), samba_query.substr(2));
  stand_in.Answer(query, asker, 0x8500, {"127.0.0.8"}, /*other_query=*/1);
  stand_in.Answer(query, asker, 0x8503, {"127.0.0.8"});  // its error bits say "no such name"
  stand_in.Answer(query, asker, 0x8500, {"127.0.0.9", "127.0.0.10"});
  ours.join();
  EXPECT_EQ(Ips(found), (std::vector<std::string>{"127.0.0.9", "127.0.0.10"}));

  // Nobody answers: nothing, once the limit is out.
  EXPECT_TRUE(QueryNetbiosName("NOBODY", {stand_in.address()}, 100ms).empty());
  EXPECT_EQ(stand_in.Receive().first.find("EOEP"), 13u);  // "NO": it was asked
}

TEST(ServerLookupTest, OnlyANameThatMayBeANetbiosNameIsAskedFor) {
  for (const auto& [host, may] :
       std::vector<std::pair<std::string, bool>>{{"OFFICEPC", true},
                                                 {"anns-laptop", true},
                                                 {"FIFTEEN-LETTERS", true},
                                                 {"SIXTEEN-LETTERS!", false},
                                                 {"", false},
                                                 {"fileserver.office.example", false},
                                                 {"192.168.1.20", false},
                                                 {"fe80::1", false}}) {
    EXPECT_EQ(IsNetbiosName(host), may) << host;
  }
}

}  // namespace
}  // namespace parlavox
