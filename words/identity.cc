#include "words/identity.h"

#include <pwd.h>
#include <unistd.h>

#include <random>

#include "util/paths.h"

namespace parlavox {

std::string AccountName() {
  const passwd* account = getpwuid(getuid());
  if (account == nullptr) return EnvironmentOr("USER", "Parlavox user");
  std::string full_name = account->pw_gecos != nullptr ? account->pw_gecos : "";
  full_name = full_name.substr(0, full_name.find(','));
  return full_name.empty() ? account->pw_name : full_name;
}

UserRecord NewOwnRecord() {
  UserRecord record;
  std::random_device entropy;
  record.id = std::uniform_int_distribution<int32_t>(1, 2147483647)(entropy);
  record.SetName(AccountName());
  return record;
}

void IdentityChange::ApplyTo(UserRecord* record) const {
  if (name) record->SetName(*name);
  if (id) record->id = *id;
  if (email) record->SetEmail(*email);
}

}  // namespace parlavox
