#ifndef PARLAVOX_SETUP_ROLE_MARKER_H_
#define PARLAVOX_SETUP_ROLE_MARKER_H_

#include <cstdint>
#include <string>
#include <string_view>

namespace parlavox {

// One program file plays three roles, told apart by its last four bytes (unsigned,
// little-endian): the install package, the uninstaller copy, and the installed
// program (which ends in 0, or in anything else).
inline constexpr uint32_t kInstallPackageMarker = 0x0F0FF0F0;
inline constexpr uint32_t kUninstallerMarker = 0xF0F00F0F;
inline constexpr uint32_t kInstalledProgramMarker = 0;

enum class Role { kProgram, kInstallPackage, kUninstaller, kCorruptPackage };

// What a damaged or cut-short package says, under kInstallErrorCaption.
inline constexpr std::string_view kCorruptPackageText =
    "Installation file corrupt.\n\nA checksum error was detected in your install file, "
    "please redownload file and install again.";
inline constexpr std::string_view kInstallErrorCaption = "Install Error";

// The last four bytes of `path`; 0 when it can't be read or is shorter.
uint32_t ReadRoleMarker(const std::string& path);

// Appends `marker` to the existing file `path`; false when it can't.
bool AppendRoleMarker(const std::string& path, uint32_t marker);

// The role of a program file named `file_name` (with or without its folder) that ends
// in `marker`. A file whose name without extension contains "SETUP" in any case but
// which lacks the package's marker is a damaged package, such as a cut-short download.
Role RoleOf(std::string_view file_name, uint32_t marker);

}  // namespace parlavox

#endif  // PARLAVOX_SETUP_ROLE_MARKER_H_
