#include "share/find_users.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <optional>

#include "share/folder_access.h"
#include "util/paths.h"
#include "words/share_name.h"

namespace parlavox {
namespace {

// The size of the record file in `folder`, up to one byte more than a whole record;
// -1 when there is none.
int64_t RecordFileSize(SmbConnections& smb, const std::string& folder) {
  if (const std::optional<ShareLocation> share = ParseShareName(folder)) {
    const std::optional<std::string> bytes =
        smb.For(*share).ReadAt(SmbUrl(*share, kUserRecordFileName), 0, kUserRecordSize + 1);
    return bytes ? static_cast<int64_t>(bytes->size()) : -1;
  }
  const std::string path = JoinPath(folder, kUserRecordFileName);
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) return -1;
  const auto size = std::filesystem::file_size(path, error);
  return error ? -1 : static_cast<int64_t>(size);
}

// The record of one folder, when it holds a whole one.
std::optional<UserRecord> WholeRecord(SmbConnections& smb, const std::string& folder) {
  if (RecordFileSize(smb, folder) != static_cast<int64_t>(kUserRecordSize)) return std::nullopt;
  UserRecord record;
  if (!ReadRecordInFolder(smb, &record, folder)) return std::nullopt;
  return record;
}

// The names of the folders in `folder`; `trouble` says why where the server kept them
// from being listed.
std::vector<std::string> Subfolders(SmbConnections& smb, const std::string& folder,
                                    std::string* trouble) {
  std::vector<std::string> names;
  if (const std::optional<ShareLocation> share = ParseShareName(folder)) {
    int error = 0;
    if (const auto entries = smb.For(*share).List(SmbUrl(*share), &error)) {
      for (const SmbConnection::Entry& entry : *entries) {
        if (entry.is_folder) names.push_back(entry.name);
      }
    } else {
      *trouble = smb.For(*share).Trouble(error, *share);
    }
  } else {
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
      std::error_code kind_error;
      if (entry.is_directory(kind_error)) names.push_back(entry.path().filename().string());
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

// The disk shares of `server`, named as folders in its form ("\\host\share");
// `trouble` says why where the server kept them from being listed.
std::vector<std::string> Shares(SmbConnections& smb, const ShareLocation& server,
                                const std::string& name, std::string* trouble) {
  int error = 0;
  std::optional<std::vector<std::string>> listed = smb.For(server).ListShares(&error);
  if (!listed) *trouble = smb.For(server).Trouble(error, server);
  std::vector<std::string> shares = listed.value_or(std::vector<std::string>{});
  std::sort(shares.begin(), shares.end());
  for (std::string& share : shares) share = NameInside(name, share);
  return shares;
}

}  // namespace

FoundUsers FindUsers(SmbConnections& smb, const std::string& folder) {
  FoundUsers found;
  if (const std::optional<ShareLocation> server = ParseServerName(folder)) {
    for (const std::string& share : Shares(smb, *server, folder, &found.trouble)) {
      std::vector<FoundUser> in_share = FindUsers(smb, share).users;
      found.users.insert(found.users.end(), in_share.begin(), in_share.end());
    }
    return found;
  }
  if (std::optional<UserRecord> own = WholeRecord(smb, folder)) {
    found.users.push_back({folder, *own});
  }
  for (const std::string& name : Subfolders(smb, folder, &found.trouble)) {
    const std::string inside = NameInside(folder, name);
    if (std::optional<UserRecord> record = WholeRecord(smb, inside)) {
      found.users.push_back({inside, *record});
    }
  }
  return found;
}

}  // namespace parlavox
