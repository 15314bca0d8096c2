#include "share/folder_access.h"

#include <algorithm>

#include "util/paths.h"

namespace parlavox {

bool ReadRecordInFolder(SmbConnections& smb, UserRecord* record, const std::string& folder) {
  const std::optional<ShareLocation> share = ParseShareName(folder);
  if (!share) return ReadUserRecord(record, JoinPath(folder, kUserRecordFileName));
  const std::optional<std::string> bytes =
      smb.For(*share).ReadFile(SmbUrl(*share, kUserRecordFileName), kUserRecordSize);
  if (!bytes) return false;
  auto fields = record->ToBytes();  // bytes past a short file keep their values
  std::copy(bytes->begin(), bytes->end(), fields.begin());
  *record = UserRecord::FromBytes(fields);
  record->name.back() = '\0';
  record->email.back() = '\0';
  return true;
}

}  // namespace parlavox
