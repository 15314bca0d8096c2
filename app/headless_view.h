#ifndef PARLAVOX_APP_HEADLESS_VIEW_H_
#define PARLAVOX_APP_HEADLESS_VIEW_H_

#include <string>

#include "app/intercom_view.h"

namespace parlavox {

// Shows the intercom as lines on standard error, for running without a window (and
// beside one, as a log): who the person is, the on/off state, each change of the
// users list, status texts (not the idle texts between them), alerts, and another
// start asking for the window.
class HeadlessView : public IntercomView {
 public:
  void ShowUsers(const UserList& users) override;
  void ShowOnOff(bool on) override;
  void ShowStatus(const std::string& text, bool idle) override;
  void ShowIdentity(const UserRecord& own) override;
  void ShowAlert(const std::string& text, const std::string& caption) override;
  void AnswerSecondStart() override;

 private:
  std::string last_users_line_;
};

// One line that lists the users as "name (on)" or "name (off)".
std::string DescribeUsers(const UserList& users);

}  // namespace parlavox

#endif  // PARLAVOX_APP_HEADLESS_VIEW_H_
