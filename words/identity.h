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

// Loads the own record from `inward_folder`. When there is none yet (a first start),
// makes one: off, a random id from 1 to 2^31 - 1 and the account's name. The new
// record is not written; turning the intercom on writes it.
UserRecord LoadOrCreateOwnRecord(const std::string& inward_folder);

// A change of the person's name, id or e-mail text; fields left empty stay as they are.
struct IdentityChange {
  std::optional<std::string> name;
  std::optional<int32_t> id;
  std::optional<std::string> email;

  void ApplyTo(UserRecord* record) const;
};

}  // namespace parlavox

#endif  // PARLAVOX_WORDS_IDENTITY_H_
