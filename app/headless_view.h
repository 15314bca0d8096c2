#ifndef PARLAVOX_APP_HEADLESS_VIEW_H_
#define PARLAVOX_APP_HEADLESS_VIEW_H_

#include <string>

#include "app/intercom.h"

namespace parlavox {

// Shows the intercom as lines on standard error, for running without a window:
// the on/off state, each change of the users list, and requests to show itself.
class HeadlessView : public IntercomView {
 public:
  void ShowUsers(const UserList& users) override;
  void ShowOnOff(bool on) override;
  void ShowMainWindow() override;

 private:
  std::string last_users_line_;
};

// One line that lists the users as "name (on)" or "name (off)".
std::string DescribeUsers(const UserList& users);

}  // namespace parlavox

#endif  // PARLAVOX_APP_HEADLESS_VIEW_H_
