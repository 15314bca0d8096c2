#ifndef PARLAVOX_WORDS_IDENTITY_H_
#define PARLAVOX_WORDS_IDENTITY_H_

#include <cstdint>
#include <optional>
#include <string>

#include "words/user_record.h"

namespace parlavox {

// The person's name as the system knows the account: the full name from the
// account's GECOS field, else the login name.
std::string AccountName();

// The own record of a person who has none yet (a first start): off, a random id from
// 1 to 2^31 - 1 and the account's name.
UserRecord NewOwnRecord();

// A change of the person's name, id or e-mail text; fields left empty stay as they are,
// and so does the name where the new one is blank: colleagues would see nobody.
struct IdentityChange {
  std::optional<std::string> name;
  std::optional<int32_t> id;
  std::optional<std::string> email;

  void ApplyTo(UserRecord* record) const;
};

}  // namespace parlavox

#endif  // PARLAVOX_WORDS_IDENTITY_H_
