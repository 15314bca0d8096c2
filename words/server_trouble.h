#ifndef PARLAVOX_WORDS_SERVER_TROUBLE_H_
#define PARLAVOX_WORDS_SERVER_TROUBLE_H_

#include <optional>
#include <string>

namespace parlavox {

// The sentence said once when a server refuses an account: "Server <host> refused
// <who>: <why>", `who` being "a guest" or the account "<username>".
std::string RefusalSentence(const std::string& host, const std::string& username,
                            const std::string& why);

// The server a sentence says refused an account; nullopt for any other sentence.
std::optional<std::string> RefusingServer(const std::string& sentence);

// What a refusal sentence says without its advice: "Server <host> refused <who>".
std::string RefusalWithoutAdvice(const std::string& sentence);

}  // namespace parlavox

#endif  // PARLAVOX_WORDS_SERVER_TROUBLE_H_
