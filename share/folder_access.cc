#include "share/folder_access.h"

#include <cerrno>

#include "util/paths.h"

namespace parlavox {

bool ReadRecordInFolder(SmbConnections& smb, UserRecord* record, const std::string& folder,
                        std::string* trouble, bool background) {
  const std::optional<ShareLocation> share = ParseShareName(folder);
  if (!share) return ReadUserRecord(record, JoinPath(folder, kUserRecordFileName));
  SmbConnection& connection = smb.For(*share);
  int error = ETIMEDOUT;
  std::optional<std::string> bytes;
  if (!background || connection.AnsweredLately()) {
    bytes = connection.ReadAt(SmbUrl(*share, kUserRecordFileName), 0, kUserRecordSize, &error);
  }
  if (!bytes) {
    if (trouble != nullptr) *trouble = connection.Trouble(error, *share);
    return false;
  }
  TakeRecordBytes(record, *bytes);
  return true;
}

bool WriteRecordInFolder(SmbConnections& smb, const UserRecord& record, const std::string& folder) {
  const std::optional<ShareLocation> share = ParseShareName(folder);
  if (!share) return WriteUserRecord(record, JoinPath(folder, kUserRecordFileName));
  const auto bytes = record.ToBytes();
  return smb.For(*share).WriteWhole(
      SmbUrl(*share, kUserRecordFileName),
      std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()));
}

}  // namespace parlavox
