#include "words/share_name.h"

#include <strings.h>

#include <algorithm>
#include <charconv>

namespace parlavox {

std::optional<ShareLocation> ParseShareName(std::string_view folder) {
  std::string rest;
  if (folder.size() > 2 && folder.substr(0, 2) == "\\\\") {
    rest = std::string(folder.substr(2));
    std::replace(rest.begin(), rest.end(), '\\', '/');
  } else if (folder.size() > 6 && strncasecmp(folder.data(), "smb://", 6) == 0) {
    rest = std::string(folder.substr(6));
  } else {
    return std::nullopt;
  }
  ShareLocation location;
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
  if (host.empty() || host_end == std::string::npos) return std::nullopt;
  location.host = host;
  const std::string after_host = rest.substr(host_end + 1);
  const size_t share_end = after_host.find('/');
  location.share = after_host.substr(0, share_end);
  if (location.share.empty()) return std::nullopt;
  if (share_end != std::string::npos) location.path = after_host.substr(share_end + 1);
  while (!location.path.empty() && location.path.back() == '/') location.path.pop_back();
  return location;
}

std::string SmbUrl(const ShareLocation& location, std::string_view name) {
  std::string url = "smb://" + location.host;
  if (location.port != 0) url += ":" + std::to_string(location.port);
  url += "/" + location.share;
  if (!location.path.empty()) url += "/" + location.path;
  if (!name.empty()) url += "/" + std::string(name);
  return url;
}

}  // namespace parlavox
