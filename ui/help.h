#ifndef PARLAVOX_UI_HELP_H_
#define PARLAVOX_UI_HELP_H_

#include <string>

namespace parlavox {

// Topics of the help that the program opens by number.
namespace help {
inline constexpr int kContents = 0;
inline constexpr int kAfterInstalling = 101;
inline constexpr int kGeneralPage = 103;
inline constexpr int kUsersPage = 104;
inline constexpr int kKeysPage = 105;
}  // namespace help

// The help file: "parlavox-help.html" beside the program, else the one installed
// with the system's documentation; empty when there is none.
std::string HelpFilePath();

// Opens the help in the person's web browser at `topic`; false when there is no help
// file or nothing could open it.
bool OpenHelp(int topic);

}  // namespace parlavox

#endif  // PARLAVOX_UI_HELP_H_
