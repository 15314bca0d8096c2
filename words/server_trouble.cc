#include "words/server_trouble.h"

namespace parlavox {
namespace {

constexpr std::string_view kServer = "Server ";
constexpr std::string_view kRefused = " refused ";
constexpr std::string_view kAdvice = ": ";

}  // namespace

std::string RefusalSentence(const std::string& host, const std::string& username,
                            const std::string& why) {
  const std::string who = username.empty() ? "a guest" : "the account \"" + username + "\"";
  return std::string(kServer) + host + std::string(kRefused) + who + std::string(kAdvice) + why;
}

std::optional<std::string> RefusingServer(const std::string& sentence) {
  if (!sentence.starts_with(kServer)) return std::nullopt;
  const size_t host_end = sentence.find(kRefused, kServer.size());
  // Host names hold no spaces: the first word after "Server " is the whole name.
  if (host_end == std::string::npos || sentence.find(' ', kServer.size()) != host_end) {
    return std::nullopt;
  }
  return sentence.substr(kServer.size(), host_end - kServer.size());
}

std::string RefusalWithoutAdvice(const std::string& sentence) {
  return sentence.substr(0, sentence.find(kAdvice));
}

}  // namespace parlavox
