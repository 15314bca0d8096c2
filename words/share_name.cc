#include "words/share_name.h"

#include <strings.h>

#include <algorithm>
#include <charconv>
#include <utility>

#include "util/paths.h"

namespace parlavox {

namespace {

// `text` with its %XX escapes undone, as GVfs writes the values of its mount names.
std::string Unescaped(std::string_view text) {
  std::string plain;
  for (size_t i = 0; i < text.size(); ++i) {
    int value = 0;
    const char* digits = text.data() + i + 1;
    if (text[i] == '%' && i + 2 < text.size() &&
        std::from_chars(digits, digits + 2, value, 16).ptr == digits + 2) {
      plain += static_cast<char>(value);
      i += 2;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

// `name` as a part of an smb:// address that libsmbclient takes literally: it undoes
// %XX escapes and reads what follows a "?" as options.
std::string Escaped(std::string_view name) {
  std::string escaped;
  for (const char c : name) {
    if (c == '%') {
      escaped += "%25";
    } else if (c == '?') {
      escaped += "%3F";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

// The smb:// name (escaped) of a folder inside a desktop's FUSE mount of a share:
// ".../gvfs/smb-share:server=HOST,share=SHARE[,port=N,...]/path" (GVfs) or
// ".../kio-fuse-XXXXXX/smb/[user@]HOST[:port]/SHARE/path" (KDE's kio-fuse).
std::optional<std::string> SmbNameOfMountedFolder(std::string_view folder) {
  if (const size_t gvfs = folder.find("/gvfs/smb-share:"); gvfs != std::string_view::npos) {
    std::string_view rest = folder.substr(gvfs + 16);
    const size_t end = rest.find('/');
    const std::string_view keys = rest.substr(0, end);
    std::string server, share, port;
    for (size_t at = 0; at <= keys.size();) {
      const size_t comma = std::min(keys.find(',', at), keys.size());
      const std::string_view pair = keys.substr(at, comma - at);
      const size_t equals = pair.find('=');
      const std::string_view key = pair.substr(0, equals);
      const std::string value =
          equals == std::string_view::npos ? "" : Unescaped(pair.substr(equals + 1));
      if (key == "server") server = value;
      if (key == "share") share = value;
      if (key == "port") port = value;
      at = comma + 1;
    }
    if (server.empty() || share.empty()) return std::nullopt;
    return "smb://" + server + (port.empty() ? "" : ":" + port) + "/" + Escaped(share) +
           (end == std::string_view::npos ? "" : Escaped(rest.substr(end)));
  }
  if (const size_t kio = folder.find("/kio-fuse-"); kio != std::string_view::npos) {
    const size_t smb = folder.find('/', kio + 1);
    if (smb == std::string_view::npos || folder.substr(smb, 5) != "/smb/") return std::nullopt;
    std::string_view rest = folder.substr(smb + 5);
    if (const size_t at = rest.find('@'); at != std::string_view::npos && at < rest.find('/')) {
      rest.remove_prefix(at + 1);  // the account is credentials.ini's business
    }
    return "smb://" + Escaped(rest);
  }
  return std::nullopt;
}

// The host and port of a name in either form, and what follows the host after its
// separator (nullopt when nothing follows); nullopt when it is no such name.
struct ParsedHost {
  ShareLocation location;
  std::optional<std::string> rest;
  bool escaped = false;  // an smb:// name, whose parts read as libsmbclient reads them

  std::string Plain(std::string_view part) const {
    return escaped ? Unescaped(part) : std::string(part);
  }
};

std::optional<ParsedHost> ParseHost(std::string_view name) {
  if (const std::optional<std::string> smb_name = SmbNameOfMountedFolder(name)) {
    return ParseHost(*smb_name);
  }
  std::string rest;
  ParsedHost parsed;
  if (name.size() > 2 && name.substr(0, 2) == "\\\\") {
    rest = std::string(name.substr(2));
    std::replace(rest.begin(), rest.end(), '\\', '/');
  } else if (name.size() > 6 && strncasecmp(name.data(), "smb://", 6) == 0) {
    rest = std::string(name.substr(6));
    parsed.escaped = true;
  } else {
    return std::nullopt;
  }
  ShareLocation& location = parsed.location;
  const size_t host_end = rest.find('/');
  std::string host = rest.substr(0, host_end);
  if (const size_t colon = host.rfind(':');
      colon != std::string::npos && host.find(']') == std::string::npos) {
    const std::string_view port(host.data() + colon + 1, host.size() - colon - 1);
    if (std::from_chars(port.data(), port.data() + port.size(), location.port).ec != std::errc() ||
        location.port <= 0 || location.port > 65535) {
      return std::nullopt;
    }
    host.resize(colon);
  }
  if (host.empty()) return std::nullopt;
  location.host = host;
  if (host_end != std::string::npos) parsed.rest = rest.substr(host_end + 1);
  return parsed;
}

}  // namespace

std::optional<ShareLocation> ParseShareName(std::string_view folder) {
  auto parsed = ParseHost(folder);
  if (!parsed || !parsed->rest) return std::nullopt;
  ShareLocation& location = parsed->location;
  const std::string_view after_host = *parsed->rest;
  const size_t share_end = after_host.find('/');
  location.share = parsed->Plain(after_host.substr(0, share_end));
  if (location.share.empty()) return std::nullopt;
  if (share_end != std::string::npos)
    location.path = parsed->Plain(after_host.substr(share_end + 1));
  while (!location.path.empty() && location.path.back() == '/') location.path.pop_back();
  return location;
}

std::optional<ShareLocation> ParseServerName(std::string_view name) {
  const auto parsed = ParseHost(name);
  if (!parsed || (parsed->rest && !parsed->rest->empty())) return std::nullopt;
  return parsed->location;
}

std::string ServerName(std::string_view folder) {
  const std::optional<ShareLocation> location = ParseShareName(folder);
  if (!location) return "";
  if (folder.starts_with("\\\\")) return "\\\\" + location->host;
  return "smb://" + location->host +
         (location->port != 0 ? ":" + std::to_string(location->port) : "");
}

std::string NameInside(std::string_view folder, std::string_view name) {
  const std::string outer = StripTrailingSeparators(folder);
  if (outer.starts_with("\\\\")) return outer + "\\" + std::string(name);
  if (outer.size() > 6 && strncasecmp(outer.data(), "smb://", 6) == 0) {
    return outer + "/" + Escaped(name);
  }
  return JoinPath(outer, name);
}

std::string SmbUrl(const ShareLocation& location, std::string_view name) {
  std::string url = "smb://" + location.host;
  if (location.port != 0) url += ":" + std::to_string(location.port);
  if (!location.share.empty()) url += "/" + Escaped(location.share);
  if (!location.path.empty()) url += "/" + Escaped(location.path);
  if (!name.empty()) url += "/" + Escaped(name);
  return url;
}

}  // namespace parlavox
