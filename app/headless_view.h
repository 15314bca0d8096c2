#ifndef PARLAVOX_APP_HEADLESS_VIEW_H_
#define PARLAVOX_APP_HEADLESS_VIEW_H_

#include <string>

#include "app/intercom.h"

namespace parlavox {

// Shows the intercom as lines on standard error, for running without a window:
// the on/off state, each change of the users list, status texts, alerts, and
// requests to show itself.
class HeadlessView : public IntercomView {
 public:
  void ShowUsers(const UserList& users) override;
  void ShowOnOff(bool on) override;
  void ShowMainWindow() override;
  // Logs status texts; the idle texts that rotate between them are not logged.
  void ShowStatus(const std::string& text, bool idle) override;
  void ShowAlert(const std::string& text, const std::string& caption) override;

 private:
  std::string last_users_line_;
};

// One line that lists the users as "name (on)" or "name (off)".
std::string DescribeUsers(const UserList& users);

}  // namespace parlavox

#endif  // PARLAVOX_APP_HEADLESS_VIEW_H_
