#include "platform/headless_view.h"

#include <cstdio>

#include "util/terminal_text.h"

namespace parlavox {
namespace {

// What is logged holds other people's names, read from their records.
void Log(const std::string& line) {
  std::fprintf(stderr, "parlavox: %s\n", TerminalText(line).c_str());
}

}  // namespace

std::string DescribeUsers(const UserList& users) {
  if (users.items().empty()) return "users: none";
  std::string line = "users:";
  for (const UserListItem& item : users.items()) {
    line += (line.back() == ':' ? " " : ", ") + item.name +
            (!item.reached ? " (not reached)"
             : item.on     ? " (on)"
                           : " (off)");
  }
  return line;
}

void HeadlessView::ShowUsers(const UserList& users) {
  std::string line = DescribeUsers(users);
  if (line == last_users_line_) return;
  Log(line);
  last_users_line_ = std::move(line);
}

void HeadlessView::ShowOnOff(bool on) { Log(on ? "intercom on" : "intercom off"); }

void HeadlessView::ShowStatus(const std::string& text, bool idle) {
  if (!idle) Log(text);
}

void HeadlessView::ShowIdentity(const UserRecord& own) {
  std::string line = "you are \"" + own.Name() + "\", id " + std::to_string(own.id);
  if (line == last_identity_line_) return;
  Log(line);
  last_identity_line_ = std::move(line);
}

void HeadlessView::ShowAlert(const std::string& text, const std::string& caption) {
  Log(caption + ": " + text);
}

bool HeadlessView::AnswerSecondStart() {
  Log(beside_window_ ? "asked to show its window"
                     : "asked to show itself; running without a window");
  return false;
}

}  // namespace parlavox
