#ifndef PARLAVOX_SHARE_FIND_USERS_H_
#define PARLAVOX_SHARE_FIND_USERS_H_

#include <string>
#include <vector>

#include "share/smb_connection.h"
#include "words/user_record.h"

namespace parlavox {

// A colleague found in a folder: their inward folder and what its record says.
struct FoundUser {
  std::string folder;
  UserRecord record;
};

// What a look found: the colleagues, and, where the server named kept it from looking
// at all (it can't be found, does not answer, or refuses the account), the sentence
// that says so (SmbConnection::Trouble).
struct FoundUsers {
  std::vector<FoundUser> users;
  std::string trouble;
};

// The inward folders among `folder` itself and the folders in it (one level down), named
// either way (on an SMB share through `smb`, or on the file system), in name order:
// each that holds a whole record (128 bytes). Folders found are named as `folder` is
// ("\\host\share\a" in "\\host\share", "smb://host/share/a" in "smb://host/share").
// Folders that can't be read, and anything else, are passed over. A server named alone
// ("\\host", "smb://host") is looked for in each of its disk shares.
FoundUsers FindUsers(SmbConnections& smb, const std::string& folder);

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_FIND_USERS_H_
