#include "share/credentials.h"

#include <sys/stat.h>

#include "settings/profile_file.h"
#include "util/paths.h"

namespace parlavox {

void GivenAccounts::Give(const std::string& host, const Credentials& account) {
  MutexLock lock(mutex_);
  accounts_[host] = account;
}

std::optional<Credentials> GivenAccounts::Find(const std::string& host) const {
  MutexLock lock(mutex_);
  const auto found = accounts_.find(host);
  if (found == accounts_.end()) return std::nullopt;
  return found->second;
}

CredentialsFile CredentialsFile::ForUser(SavedAccounts saved, const GivenAccounts* given) {
  return CredentialsFile(XdgConfigHome() + "/parlavox/credentials.ini", std::move(saved), given);
}

Credentials CredentialsFile::For(const std::string& host, std::string* refusal) const {
  if (given_ != nullptr) {
    if (std::optional<Credentials> given = given_->Find(host)) return *given;
  }
  struct stat status {};
  if (stat(path_.c_str(), &status) == 0) {
    if ((status.st_mode & 077) != 0) {
      if (refusal != nullptr) {
        *refusal = path_ + " may be read by others: it is not used (chmod 600 " + path_ + ")";
      }
    } else if (Credentials kept{ReadProfileString(path_, host, "username", ""),
                                ReadProfileString(path_, host, "password", ""),
                                ReadProfileString(path_, host, "domain", "")};
               !kept.username.empty()) {
      return kept;
    }
  }
  if (saved_) {
    if (std::optional<Credentials> saved = saved_(host)) return *saved;
  }
  return {};
}

}  // namespace parlavox
