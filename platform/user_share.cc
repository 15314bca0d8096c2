#include "platform/user_share.h"

#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <filesystem>
#include <sstream>
#include <string_view>

#include "util/paths.h"
#include "words/share_name.h"

namespace parlavox {
namespace {

// Why net refused, as a sentence with the fix, from what it printed.
std::string RefusalText(const ProgramRun& run) {
  if (run.exit_code == -1 || run.exit_code == 127) {
    return "Sharing needs Samba: sudo apt install samba";
  }
  const std::string& out = run.output;
  if (out.find("not allowed") != std::string::npos || out.find("ermission") != std::string::npos) {
    return "You may not make shares yet: sudo usermod -aG sambashare $USER, then log in again";
  }
  if (out.find("disabled") != std::string::npos ||
      out.find("usershare path") != std::string::npos ||
      out.find("max shares") != std::string::npos) {
    return "User shares are off in Samba's settings: set \"usershare path\" and \"usershare "
           "max shares\" in /etc/samba/smb.conf (Debian's samba package sets both)";
  }
  return "Samba refused the share: " + out;
}

// The name by which Windows machines find this one where no name server knows it: the
// NetBIOS name that Samba answers for (the host name cut at its first dot, as testparm
// says, and at 15 characters on the network), written as `host` is where they are the
// same.
std::string NetbiosHostName(const ProgramRunner& run, const std::string& host) {
  const ProgramRun asked = run({"testparm", "-s", "--parameter-name", "netbios name"});
  constexpr size_t kLongest = 15;  // what a NetBIOS name holds: Samba cuts it there
  std::string name = asked.output.substr(0, asked.output.find_first_of("\r\n")).substr(0, kLongest);
  if (asked.exit_code != 0 || name.empty() || strcasecmp(name.c_str(), host.c_str()) == 0) {
    return host;
  }
  std::transform(name.begin(), name.end(), name.begin(),
                 [](unsigned char c) { return char(std::tolower(c)); });
  return name;
}

// The folders above `folder`, from the top down, that others may not pass through: a
// guest of the share can't reach the folder then.
std::vector<std::string> ClosedToOthers(const std::string& folder) {
  std::vector<std::string> closed;
  std::filesystem::path above = std::filesystem::path(folder).parent_path();
  for (; !above.empty(); above = above.parent_path()) {
    struct stat info;
    if (stat(above.c_str(), &info) == 0 && (info.st_mode & S_IXOTH) == 0) {
      closed.insert(closed.begin(), above.string());
    }
    if (above == above.root_path()) break;
  }
  return closed;
}

}  // namespace

std::string UserShareName() {
  const std::optional<Account> account = OwnAccount();
  return "parlavox-" + (account ? account->login : "user");
}

UserShareOutcome ShareInwardFolder(const std::string& folder, const ProgramRunner& run,
                                   bool let_guests_through) {
  if (ParseShareName(folder)) {
    return {true, "The folder is on a server already: colleagues add it as " + folder, {folder}};
  }
  if (let_guests_through) {
    for (const std::string& above : ClosedToOthers(folder)) {
      std::error_code ignored;  // what stays closed is said below
      std::filesystem::permissions(above, std::filesystem::perms::others_exec,
                                   std::filesystem::perm_options::add, ignored);
    }
  }
  if (const std::vector<std::string> closed = ClosedToOthers(folder); !closed.empty()) {
    std::string folders;
    for (const std::string& above : closed) folders += " " + above;
    UserShareOutcome outcome{.done = false,
                             .text = "Colleagues can't reach the folder through" + folders +
                                     ", which others may not pass: chmod o+x" + folders};
    outcome.guests_kept_out = true;
    return outcome;
  }
  const std::string name = UserShareName();
  const ProgramRun added = run({"net", "usershare", "add", name, folder, "Parlavox inward folder",
                                "S-1-1-0:F", "guest_ok=y"});
  if (added.exit_code != 0) return {.done = false, .text = RefusalText(added)};
  const std::string host = HostName();
  const std::string windows_name = "\\\\" + NetbiosHostName(run, host) + "\\" + name;
  const std::string url = "smb://" + host + "/" + name;
  return {.done = true,
          .text = "Colleagues add you as " + windows_name + " or " + url,
          .names = {windows_name, url}};
}

std::string UserShareOf(const std::string& folder, const ProgramRunner& run) {
  const ProgramRun info = run({"net", "usershare", "info", UserShareName()});
  const bool shared =
      info.exit_code == 0 && info.output.find("path=" + folder + "\n") != std::string::npos;
  return shared ? UserShareName() : "";
}

std::string SambaShareOf(const std::string& folder, const ProgramRunner& run) {
  if (std::string share = UserShareOf(folder, run); !share.empty()) return share;
  const ProgramRun config = run({"testparm", "-s", "--suppress-prompt"});
  if (config.exit_code != 0) return "";
  std::string section;
  std::istringstream lines(config.output);
  for (std::string line; std::getline(lines, line);) {
    line.erase(0, line.find_first_not_of(" \t"));
    if (line.starts_with('[') && line.ends_with(']')) {
      section = line.substr(1, line.size() - 2);
      continue;
    }
    constexpr std::string_view kPath = "path = ";
    if (section.empty() || section == "global" || !line.starts_with(kPath)) continue;
    std::string path = line.substr(kPath.size());
    while (path.size() > 1 && path.ends_with('/')) path.pop_back();
    if (path.find('%') != std::string::npos) continue;
    if (folder == path) return section;
    if (folder.starts_with(path + "/")) return section + folder.substr(path.size());
  }
  return "";
}

UserShareOutcome UnshareInwardFolder(const std::string& folder, const ProgramRunner& run) {
  if (UserShareOf(folder, run).empty()) {
    return {.done = true, .text = "Your inward folder is not shared"};
  }
  const ProgramRun deleted = run({"net", "usershare", "delete", UserShareName()});
  if (deleted.exit_code != 0) return {.done = false, .text = RefusalText(deleted)};
  return {.done = true, .text = "Your inward folder is no longer shared"};
}

}  // namespace parlavox
