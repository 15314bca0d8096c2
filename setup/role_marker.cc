#include "setup/role_marker.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>

#include "util/file_io.h"
#include "util/little_endian.h"

namespace parlavox {

uint32_t ReadRoleMarker(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return 0;
  uint8_t bytes[4] = {};
  struct stat status {};
  const bool read = fstat(fd, &status) == 0 && status.st_size >= 4 &&
                    ReadFullyAt(fd, bytes, 4, status.st_size - 4) == 4;
  close(fd);
  return read ? GetLittleEndian32(bytes) : 0;
}

bool AppendRoleMarker(const std::string& path, uint32_t marker) {
  const int fd = open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC);
  if (fd < 0) return false;
  uint8_t bytes[4];
  PutLittleEndian32(bytes, marker);
  const bool written = WriteFully(fd, bytes, 4);
  return close(fd) == 0 && written;
}

Role RoleOf(std::string_view file_name, uint32_t marker) {
  std::string stem = std::filesystem::path(file_name).stem().string();
  std::transform(stem.begin(), stem.end(), stem.begin(),
                 [](unsigned char c) { return std::toupper(c); });
  if (marker == kInstallPackageMarker) return Role::kInstallPackage;
  if (stem.find("SETUP") != std::string::npos) return Role::kCorruptPackage;
  if (marker == kUninstallerMarker) return Role::kUninstaller;
  return Role::kProgram;
}

}  // namespace parlavox
