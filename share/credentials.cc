#include "share/credentials.h"

#include <sys/stat.h>

#include "settings/profile_file.h"
#include "util/paths.h"

namespace parlavox {

CredentialsFile CredentialsFile::ForUser(SavedAccounts saved) {
  return CredentialsFile(XdgConfigHome() + "/parlavox/credentials.ini", std::move(saved));
}

Credentials CredentialsFile::For(const std::string& host, std::string* refusal) const {
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
