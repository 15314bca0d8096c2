#ifndef PARLAVOX_UI_FIND_COLLEAGUES_DIALOG_H_
#define PARLAVOX_UI_FIND_COLLEAGUES_DIALOG_H_

#include <QWidget>
#include <functional>
#include <string>
#include <vector>

#include "share/find_users.h"
#include "ui/account_dialog.h"

namespace parlavox {

// Looks for colleagues in a server's shares or in a folder, for the person to pick.
using ColleagueFinder = std::function<FoundUsers(const std::string& where)>;

// The file servers found on the network: announced, or answering for their names.
using ServerFinder = std::function<std::vector<std::string>()>;

// "Find on network…": the person names a server ("\\host", "smb://host") or a folder,
// offered the servers of `listed` (the folders already in the Users list) and, once the
// dialog shows, those `announced`, and picks among the colleagues found there; those
// already listed are shown but can't be picked again. Where the server kept the look
// from happening, it says why; where it refused the account, it asks for one ("Log on
// to <host>"), gives it to `give_account` and looks again. "Look in all" looks in every
// server offered, one after another, and says what kept any of them out without asking.
// Returns the folders picked (none when cancelled). `find` and `announced` run on
// threads of their own, one look at a time, while the dialog stays with the person; a
// dialog closed while they run waits for the server being asked, at most its time-out.
std::vector<std::string> RunFindColleaguesDialog(QWidget* owner, const ColleagueFinder& find,
                                                 const ServerFinder& announced,
                                                 const AccountGiver& give_account,
                                                 const std::vector<std::string>& listed);

}  // namespace parlavox

#endif  // PARLAVOX_UI_FIND_COLLEAGUES_DIALOG_H_
