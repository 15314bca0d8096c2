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

namespace parlavox {

void HeadlessView::ShowStatus(const std::string& text, bool idle) {
  if (!idle) std::fprintf(stderr, "parlavox: %s\n", text.c_str());
}

void HeadlessView::ShowAlert(const std::string& text, const std::string& caption) {
  std::fprintf(stderr, "parlavox: %s: %s\n", caption.c_str(), text.c_str());
}

}  // namespace parlavox
