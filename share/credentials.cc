#include "share/credentials.h"

#include <sys/stat.h>

#include "settings/profile_file.h"
#include "util/paths.h"

namespace parlavox {

CredentialsFile CredentialsFile::ForUser() {
  return CredentialsFile(XdgConfigHome() + "/parlavox/credentials.ini");
}

Credentials CredentialsFile::For(const std::string& host, std::string* refusal) const {
  struct stat status {};
  if (stat(path_.c_str(), &status) != 0) return {};
  if ((status.st_mode & 077) != 0) {
    if (refusal != nullptr) {
      *refusal = path_ + " may be read by others: it is not used (chmod 600 " + path_ + ")";
    }
    return {};
  }
  return {ReadProfileString(path_, host, "username", ""),
          ReadProfileString(path_, host, "password", ""),
          ReadProfileString(path_, host, "domain", "")};
}

}  // namespace parlavox
