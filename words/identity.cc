#include "words/identity.h"

#include <random>

#include "util/paths.h"

namespace parlavox {

std::string AccountName() {
  const std::optional<Account> account = OwnAccount();
  if (!account) return EnvironmentOr("USER", "Parlavox user");
  return account->full_name.empty() ? account->login : account->full_name;
}

UserRecord NewOwnRecord() {
  UserRecord record;
  std::random_device entropy;
  record.id = std::uniform_int_distribution<int32_t>(1, 2147483647)(entropy);
  record.SetName(AccountName());
  return record;
}

void IdentityChange::ApplyTo(UserRecord* record) const {
  if (name && name->find_first_not_of(" \t") != std::string::npos) record->SetName(*name);
  if (id) record->id = *id;
  if (email) record->SetEmail(*email);
}

}  // namespace parlavox
