#ifndef PARLAVOX_PLATFORM_USER_SHARE_H_
#define PARLAVOX_PLATFORM_USER_SHARE_H_

#include <string>
#include <vector>

#include "util/programs.h"

namespace parlavox {

// What sharing or unsharing said: done or not, and the sentence for the person (the
// names colleagues use; or what is missing and the command that fixes it); a share made
// also gives the names alone, the Windows form first.
struct UserShareOutcome {
  bool done = false;
  std::string text;
  std::vector<std::string> names;
  bool guests_kept_out = false;  // by a folder above the folder, closed to others
};

// The share's name: "parlavox-" and the login name.
std::string UserShareName();

// Shares `folder` as a Samba user share (net usershare) that guests may write to, so
// that colleagues on other machines can drop messages in it, through `run`. A folder
// that guests can't reach, because a folder above it is closed to others, is not shared,
// unless `let_guests_through` first lets others pass through those folders (o+x: pass,
// not list). A folder on a server is shared already: its own name is the one to use.
UserShareOutcome ShareInwardFolder(const std::string& folder, const ProgramRunner& run,
                                   bool let_guests_through = false);
// The name of the user share that shares `folder`, "" when it is not shared.
std::string UserShareOf(const std::string& folder, const ProgramRunner& run);
// Where this machine's Samba shares `folder`, for a name "smb://<this machine>/<it>":
// the share's name, followed by the folder's path inside it where the share is a folder
// above it ("office/anna"); "" where no share holds it. The user share comes first,
// then the shares of smb.conf (testparm); a share whose folder varies (%) is left out.
std::string SambaShareOf(const std::string& folder, const ProgramRunner& run);
// Removes the user share again, when it shares `folder` (another folder shared under
// the name is left alone).
UserShareOutcome UnshareInwardFolder(const std::string& folder, const ProgramRunner& run);

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_USER_SHARE_H_
