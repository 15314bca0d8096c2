#include "app/headless_view.h"

#include <cstdio>

namespace parlavox {

std::string DescribeUsers(const UserList& users) {
  if (users.items().empty()) return "users: none";
  std::string line = "users:";
  for (const UserListItem& item : users.items()) {
    line += (line.back() == ':' ? " " : ", ") + item.name + (item.on ? " (on)" : " (off)");
  }
  return line;
}

void HeadlessView::ShowUsers(const UserList& users) {
  std::string line = DescribeUsers(users);
  if (line == last_users_line_) return;
  std::fprintf(stderr, "parlavox: %s\n", line.c_str());
  last_users_line_ = std::move(line);
}

void HeadlessView::ShowOnOff(bool on) {
  std::fprintf(stderr, "parlavox: intercom %s\n", on ? "on" : "off");
}

void HeadlessView::ShowMainWindow() {
  std::fprintf(stderr, "parlavox: asked to show itself; running without a window\n");
}

}  // namespace parlavox
