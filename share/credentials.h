#ifndef PARLAVOX_SHARE_CREDENTIALS_H_
#define PARLAVOX_SHARE_CREDENTIALS_H_

#include <string>

namespace parlavox {

// The account to reach a server with; all empty: a guest.
struct Credentials {
  std::string username;
  std::string password;
  std::string domain;
};

// The credentials a person keeps for their servers in a profile file (credentials.ini
// beside folders.ini): a section per host name as written in the folder names, without
// a port ("[fileserver]", "[192.168.1.20]"), with "username", "password" and "domain".
class CredentialsFile {
 public:
  explicit CredentialsFile(std::string path) : path_(std::move(path)) {}
  // $XDG_CONFIG_HOME/parlavox/credentials.ini.
  static CredentialsFile ForUser();

  // The credentials for `host`; a guest's when there are none, or when the file may be
  // read by others than its owner (then `refusal` says so, as ssh refuses a loose key).
  Credentials For(const std::string& host, std::string* refusal) const;

 private:
  std::string path_;
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_CREDENTIALS_H_
