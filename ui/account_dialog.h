#ifndef PARLAVOX_UI_ACCOUNT_DIALOG_H_
#define PARLAVOX_UI_ACCOUNT_DIALOG_H_

#include <QDialog>
#include <functional>
#include <string>

#include "words/credentials.h"

namespace parlavox {

// Hears an account the person gave for a server, and whether to remember it.
using AccountGiver =
    std::function<void(const std::string& host, const Credentials& account, bool remember)>;

// "Log on to <host>": says why the server refused, and asks for a "User name", a
// "Password" and a "Domain" (the last two may stay empty), with "Remember the password"
// (in the desktop's password store). OK gives the account to `give`; Cancel gives
// nothing. It deletes itself once closed.
class AccountDialog : public QDialog {
 public:
  AccountDialog(QWidget* owner, const std::string& host, const std::string& refusal,
                AccountGiver give);
};

}  // namespace parlavox

#endif  // PARLAVOX_UI_ACCOUNT_DIALOG_H_
