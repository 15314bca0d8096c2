#ifndef PARLAVOX_WORDS_CREDENTIALS_H_
#define PARLAVOX_WORDS_CREDENTIALS_H_

#include <string>

namespace parlavox {

// The account to reach a server with; all empty: a guest.
struct Credentials {
  std::string username;
  std::string password;
  std::string domain;
};

}  // namespace parlavox

#endif  // PARLAVOX_WORDS_CREDENTIALS_H_
