#ifndef PARLAVOX_SHARE_FOLDER_ACCESS_H_
#define PARLAVOX_SHARE_FOLDER_ACCESS_H_

#include <string>

#include "core/record_store.h"
#include "share/smb_connection.h"
#include "words/user_record.h"

namespace parlavox {

// Reads the record in a user's inward folder, wherever the folder is named to be: on
// the file system (a local or mounted folder) or on an SMB share ("\\host\share\path",
// "smb://host/share/path") through `smb`. As ReadUserRecord: the bytes read replace
// the record's; false when it can't be read, and then, where the server is to blame,
// `trouble` says so (SmbConnection::Trouble). A reader in the `background` first asks
// whether the server answered lately (SmbConnection::AnsweredLately).
bool ReadRecordInFolder(SmbConnections& smb, UserRecord* record, const std::string& folder,
                        std::string* trouble = nullptr, bool background = false);
// Writes the record into `folder`, named either way; false when it can't be written.
bool WriteRecordInFolder(SmbConnections& smb, const UserRecord& record, const std::string& folder);

// The RecordStore of folders named either way, over `smb`, which outlives it.
class FolderRecordStore : public RecordStore {
 public:
  explicit FolderRecordStore(SmbConnections& smb) : smb_(smb) {}
  bool Read(UserRecord* record, const std::string& folder) override {
    return ReadRecordInFolder(smb_, record, folder);
  }
  bool Write(const UserRecord& record, const std::string& folder) override {
    return WriteRecordInFolder(smb_, record, folder);
  }

 private:
  SmbConnections& smb_;
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_FOLDER_ACCESS_H_
