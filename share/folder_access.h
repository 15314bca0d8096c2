#ifndef PARLAVOX_SHARE_FOLDER_ACCESS_H_
#define PARLAVOX_SHARE_FOLDER_ACCESS_H_

#include <string>

#include "share/smb_connection.h"
#include "words/user_record.h"

namespace parlavox {

// Reads the record in a user's inward folder, wherever the folder is named to be: on
// the file system (a local or mounted folder) or on an SMB share ("\\host\share\path",
// "smb://host/share/path") through `smb`. As ReadUserRecord: the bytes read replace
// the record's; false when it can't be read.
bool ReadRecordInFolder(SmbConnections& smb, UserRecord* record, const std::string& folder);

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_FOLDER_ACCESS_H_
