#ifndef PARLAVOX_SHARE_CREDENTIALS_H_
#define PARLAVOX_SHARE_CREDENTIALS_H_

#include <functional>
#include <map>
#include <optional>
#include <string>

#include "util/mutex.h"
#include "words/credentials.h"

namespace parlavox {

// Accounts kept for a host elsewhere (the desktop's secret store, where the file
// manager keeps the passwords it was asked to remember); nullopt when there is none.
using SavedAccounts = std::function<std::optional<Credentials>(const std::string& host)>;

// Accounts the person typed while the program runs, when a server refused: kept in
// memory only, for every thread that reaches a server.
class GivenAccounts {
 public:
  void Give(const std::string& host, const Credentials& account) EXCLUDES(mutex_);
  std::optional<Credentials> Find(const std::string& host) const EXCLUDES(mutex_);

 private:
  mutable Mutex mutex_;
  std::map<std::string, Credentials> accounts_ GUARDED_BY(mutex_);
};

// The credentials a person keeps for their servers in a profile file (credentials.ini
// beside folders.ini): a section per host name as written in the folder names, without
// a port ("[fileserver]", "[192.168.1.20]"), with "username", "password" and "domain";
// where the file names no user for a host, `saved` is asked. An account `given` holds
// for the host comes first: it was typed because the others were refused. `given`, when
// not null, must outlive every copy of this object.
class CredentialsFile {
 public:
  explicit CredentialsFile(std::string path, SavedAccounts saved = {},
                           const GivenAccounts* given = nullptr)
      : path_(std::move(path)), saved_(std::move(saved)), given_(given) {}
  // $XDG_CONFIG_HOME/parlavox/credentials.ini.
  static CredentialsFile ForUser(SavedAccounts saved = {}, const GivenAccounts* given = nullptr);

  // The credentials for `host`: the one given, else the file's, else those saved, else a
  // guest's. A file that may be read by others than its owner is not used (then
  // `refusal` says so, as ssh refuses a loose key).
  Credentials For(const std::string& host, std::string* refusal) const;

 private:
  std::string path_;
  SavedAccounts saved_;
  const GivenAccounts* given_;
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_CREDENTIALS_H_
