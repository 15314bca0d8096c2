#include "share/netbios.h"

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

sockaddr_in Address(const std::string& ip, uint16_t port = 137) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  inet_pton(AF_INET, ip.c_str(), &address.sin_addr);
  return address;
}

void Put16(std::string& bytes, uint16_t value) {
  bytes += char(value >> 8);
  bytes += char(value & 0xFF);
}

// A stand-in for a Windows machine's name service at `ip`, port 137, where Samba's
// nmblookup asks too (so it needs root): no Windows machine runs here, and Samba's nmbd
// serves no loopback network. It answers as the test tells it, as Windows answers.
class NameServiceStandIn {
 public:
  explicit NameServiceStandIn(const std::string& ip)
      : fd_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)), address_(Address(ip)) {
    bound_ = bind(fd_, reinterpret_cast<const sockaddr*>(&address_), sizeof address_) == 0;
    timeval wait{5, 0};
    setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &wait, sizeof wait);
  }
  ~NameServiceStandIn() { close(fd_); }

  bool bound() const { return bound_; }
  const sockaddr_in& address() const { return address_; }

  // Whether no question waits.
  bool Quiet() {
    char byte;
    return recv(fd_, &byte, 1, MSG_DONTWAIT) < 0;
  }

  // The next question; "" after 5 s of waiting.
  std::string Receive() {
    std::string query(576, '\0');
    socklen_t size = sizeof asker_;
    const ssize_t got =
        recvfrom(fd_, query.data(), query.size(), 0, reinterpret_cast<sockaddr*>(&asker_), &size);
    query.resize(got > 0 ? size_t(got) : 0);
    return query;
  }

  // Answers `query` with `flags` (0x8500: a positive, authoritative answer; its last four
  // bits an error) and `data`, as an answer of the question's type; its number changed
  // by `other_query`.
  void Answer(const std::string& query, uint16_t flags, const std::string& data,
              uint16_t other_query = 0) {
    std::string answer;
    Put16(answer, uint16_t((uint8_t(query[0]) << 8 | uint8_t(query[1])) + other_query));
    Put16(answer, flags);
    for (const uint16_t count : {0, 1, 0, 0}) Put16(answer, count);
    answer += query.substr(12, 36);                               // the name and type as asked
    for (const uint16_t field : {1, 0, 0}) Put16(answer, field);  // class IN, no time to live
    Put16(answer, uint16_t(data.size()));
    answer += data;
    sendto(fd_, answer.data(), answer.size(), 0, reinterpret_cast<const sockaddr*>(&asker_),
           sizeof asker_);
  }

 private:
  const int fd_;
  const sockaddr_in address_;
  sockaddr_in asker_{};
  bool bound_ = false;
};

// What a name's answer holds: a unique name of a broadcast node at each of `ips`.
std::string NameData(const std::vector<std::string>& ips) {
  std::string data;
  for (const std::string& ip : ips) {
    Put16(data, 0);
    const sockaddr_in address = Address(ip);
    data.append(reinterpret_cast<const char*>(&address.sin_addr), 4);
  }
  return data;
}

// What a machine answers for its names: each name, type and whether it is a group's,
// then its statistics (its network card's address first).
std::string StatusData(const std::vector<std::tuple<std::string, uint8_t, bool>>& names) {
  std::string data(1, char(names.size()));
  for (const auto& [name, type, group] : names) {
    data += name + std::string(15 - name.size(), ' ') + char(type);
    Put16(data, uint16_t((group ? 0x8000 : 0) | 0x0400));  // active
  }
  return data + std::string(46, '\0');
}

std::vector<std::string> Ips(const std::vector<sockaddr_in>& addresses) {
  std::vector<std::string> ips;
  for (const sockaddr_in& address : addresses) ips.push_back(inet_ntoa(address.sin_addr));
  return ips;
}

// Samba's nmblookup, asking as its library asks for a server, is the measure: our
// questions are byte for byte its own (but for their numbers), and an answer it reads is
// read alike.
class NetbiosTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!broadcast_.bound()) GTEST_SKIP() << "port 137 needs root";
  }

  // The question nmblookup asks with `arguments`, answered by `stand_in` with `data`;
  // what nmblookup then printed goes to `printed`.
  std::string AskedBySamba(NameServiceStandIn& stand_in, const std::string& arguments,
                           const std::string& data, std::string* printed) {
    std::jthread samba([&] { *printed = ShellOutput("nmblookup " + arguments + " 2>&1"); });
    const std::string question = stand_in.Receive();
    stand_in.Answer(question, 0x8500, data);
    return question;
  }

  NameServiceStandIn broadcast_{"127.0.0.7"};
};

TEST_F(NetbiosTest, AServerIsFoundByItsNameAsSambaFindsIt) {
  std::string printed;
  const std::string samba_question =
      AskedBySamba(broadcast_, "-B 127.0.0.7 'OFFICEPC#20'", NameData({"127.0.0.9"}), &printed);
  EXPECT_NE(printed.find("127.0.0.9 OFFICEPC<20>"), std::string::npos) << printed;

  std::vector<sockaddr_in> found;
  std::jthread ours([&] { found = QueryNetbiosName("OfficePC", {broadcast_.address()}, 5s); });
  const std::string question = broadcast_.Receive();
  EXPECT_EQ(question.substr(2), samba_question.substr(2));
  broadcast_.Answer(question, 0x8500, NameData({"127.0.0.8"}), /*other_query=*/1);
  broadcast_.Answer(question, 0x8503, NameData({"127.0.0.8"}));  // its error: "no such name"
  broadcast_.Answer(question, 0x8500, NameData({"127.0.0.9", "127.0.0.10"}));
  ours.join();
  EXPECT_EQ(Ips(found), (std::vector<std::string>{"127.0.0.9", "127.0.0.10"}));

  // Nobody answers: nothing, once the limit is out.
  EXPECT_TRUE(QueryNetbiosName("NOBODY", {broadcast_.address()}, 100ms).empty());
  EXPECT_EQ(broadcast_.Receive().find("EOEP"), 13u);  // "NO": it was asked
}

// Every machine answers for any name; each is asked for its names, and those that serve
// files are offered by the names they serve them under, or, where Samba gives that name
// blank (its host name was longer than a NetBIOS name holds), by their addresses.
TEST_F(NetbiosTest, TheFileServersOfTheNetworkAreFoundAsSambaFindsThem) {
  NameServiceStandIn office_pc("127.0.0.8"), printer("127.0.0.9"), long_named("127.0.0.10");
  const std::string office_pc_names =
      StatusData({{"OFFICEPC", 0x00, false}, {"WORKGROUP", 0x00, true}, {"OFFICEPC", 0x20, false}});
  std::string any_printed, names_printed;
  const std::string samba_any =
      AskedBySamba(broadcast_, "-B 127.0.0.7 '*'", NameData({"127.0.0.8"}), &any_printed);
  const std::string samba_status =
      AskedBySamba(office_pc, "-A 127.0.0.8", office_pc_names, &names_printed);
  EXPECT_NE(any_printed.find("127.0.0.8 *<00>"), std::string::npos) << any_printed;
  EXPECT_NE(names_printed.find("OFFICEPC        <20> -         B <ACTIVE>"), std::string::npos)
      << names_printed;

  std::vector<std::string> found;
  std::jthread ours([&] { found = FindNetbiosFileServers({broadcast_.address()}, 1s); });
  const std::string any = broadcast_.Receive();
  EXPECT_EQ(any.substr(2), samba_any.substr(2));
  for (const char* machine : {"127.0.0.8", "127.0.0.9", "127.0.0.10", "127.0.0.8"}) {
    broadcast_.Answer(any, 0x8500, NameData({machine}));  // one answers twice
  }
  const std::string status = office_pc.Receive();
  EXPECT_EQ(status.substr(2), samba_status.substr(2));
  office_pc.Answer(status, 0x8400, office_pc_names);
  printer.Answer(printer.Receive(), 0x8400, StatusData({{"PRINTER", 0x00, false}}));
  long_named.Answer(long_named.Receive(), 0x8400,
                    StatusData({{"", 0x00, false}, {"", 0x20, false}}));
  ours.join();
  EXPECT_EQ(found, (std::vector<std::string>{"127.0.0.10", "OFFICEPC"}));
  EXPECT_TRUE(office_pc.Quiet()) << "asked once, though it answered twice";
}

TEST(NetbiosNameTest, OnlyANameThatMayBeANetbiosNameIsAskedFor) {
  for (const auto& [host, may] :
       std::vector<std::pair<std::string, bool>>{{"OFFICEPC", true},
                                                 {"anns-laptop", true},
                                                 {"FIFTEEN-LETTERS", true},
                                                 {"SIXTEEN-LETTERS!", false},
                                                 {"", false},
                                                 {"fileserver.office.example", false},
                                                 {"127.0.0.20", false},
                                                 {"::1", false}}) {
    EXPECT_EQ(IsNetbiosName(host), may) << host;
  }
}

}  // namespace
}  // namespace parlavox
