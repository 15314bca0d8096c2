#include "ui/account_dialog.h"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

#include "words/server_trouble.h"

namespace parlavox {

AccountDialog::AccountDialog(QWidget* owner, const std::string& host, const std::string& refusal,
                             AccountGiver give)
    : QDialog(owner) {
  setAttribute(Qt::WA_DeleteOnClose);
  setWindowTitle(QString("Log on to %1").arg(QString::fromStdString(host)));
  // Only who was refused: the advice is for the log, this dialog is the remedy.
  auto* why = new QLabel(QString::fromStdString(RefusalWithoutAdvice(refusal)) +
                         ".\nYour colleagues there are reached with this account:");
  why->setWordWrap(true);
  auto* username = new QLineEdit;
  username->setObjectName("username");
  auto* password = new QLineEdit;
  password->setObjectName("password");
  password->setEchoMode(QLineEdit::Password);
  auto* domain = new QLineEdit;
  domain->setObjectName("domain");
  auto* remember = new QCheckBox("&Remember the password");
  remember->setToolTip(
      "Kept in the desktop's password store, where the file manager keeps its own");
  remember->setChecked(true);
  auto* fields = new QFormLayout;
  fields->addRow("&User name:", username);
  fields->addRow("&Password:", password);
  fields->addRow("&Domain:", domain);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  auto* layout = new QVBoxLayout(this);
  layout->addWidget(why);
  layout->addLayout(fields);
  layout->addWidget(remember);
  layout->addWidget(buttons);
  connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
  connect(buttons, &QDialogButtonBox::accepted, this, [=, this, give = std::move(give)] {
    if (give) {
      give(host,
           Credentials{username->text().trimmed().toStdString(), password->text().toStdString(),
                       domain->text().trimmed().toStdString()},
           remember->isChecked());
    }
    accept();
  });
}

}  // namespace parlavox
