#ifndef PARLAVOX_WORDS_SHARE_NAME_H_
#define PARLAVOX_WORDS_SHARE_NAME_H_

#include <optional>
#include <string>
#include <string_view>

namespace parlavox {

// A folder on an SMB share, as a person names it: "\\host\share\path" (as the Windows
// copies keep it) or "smb://host[:port]/share/path".
struct ShareLocation {
  std::string host;
  int port = 0;  // 0: the usual one
  std::string share;
  std::string path;  // inside the share, "/"-separated, without a leading "/"
};

// The location a folder name means; nullopt for a local (or mounted) folder. Host and
// share must not be empty. A folder inside a desktop's FUSE mount of a share (GVfs's
// ".../gvfs/smb-share:server=HOST,share=SHARE/...", kio-fuse's
// ".../kio-fuse-XXXXXX/smb/HOST/SHARE/...") means its share too: those mounts can't be
// written through reliably, so the share is reached directly.
std::optional<ShareLocation> ParseShareName(std::string_view folder);

// The server a name means when it names a server alone ("\\host", "smb://host[:port]"),
// with no share; nullopt otherwise.
std::optional<ShareLocation> ParseServerName(std::string_view name);

// The server of a folder on a share, named alone in the folder's form ("\\host" for
// "\\host\share\a", "smb://host:4450" for "smb://host:4450/share"); "" for a local folder.
std::string ServerName(std::string_view folder);

// The share or folder called `name` in the server or folder named `folder`, in the same
// form: after a "\" in a Windows name, escaped in an smb:// name, after a "/" otherwise.
std::string NameInside(std::string_view folder, std::string_view name);

// The smb:// address of `name` inside the location's folder ("" for the folder
// itself; the server's for a location with no share), as libsmbclient takes it.
std::string SmbUrl(const ShareLocation& location, std::string_view name = "");

}  // namespace parlavox

#endif  // PARLAVOX_WORDS_SHARE_NAME_H_
