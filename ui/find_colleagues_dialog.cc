#include "ui/find_colleagues_dialog.h"

#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <algorithm>
#include <optional>
#include <thread>

#include "platform/qt_task_poster.h"
#include "words/server_trouble.h"
#include "words/share_name.h"

namespace parlavox {
namespace {

class FindColleaguesDialog : public QDialog {
 public:
  FindColleaguesDialog(QWidget* owner, const ColleagueFinder& find, const ServerFinder& announced,
                       const AccountGiver& give_account, const std::vector<std::string>& listed)
      : QDialog(owner), find_(find), give_account_(give_account), listed_(listed) {
    setWindowTitle("Find on network");
    where_ = new QComboBox;
    where_->setEditable(true);
    where_->setMinimumContentsLength(36);
    for (const std::string& folder : listed) {
      const QString server = QString::fromStdString(ServerName(folder));
      if (!server.isEmpty() && where_->findText(server) < 0) where_->addItem(server);
    }
    where_->lineEdit()->setPlaceholderText("\\\\server, smb://server/share or a folder");
    auto* where_label = new QLabel("&Server or folder:");
    where_label->setBuddy(where_);
    look_ = new QPushButton("&Look");
    found_ = new QListWidget;
    said_ = new QLabel("Name a server to look in each of its shares, or a share or folder.");
    said_->setWordWrap(true);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Cancel);
    add_ = buttons->addButton("&Add", QDialogButtonBox::AcceptRole);
    add_->setEnabled(false);
    look_->setDefault(true);  // Return looks; adding is asked for apart

    auto* layout = new QGridLayout(this);
    layout->addWidget(where_label, 0, 0);
    layout->addWidget(where_, 0, 1);
    layout->addWidget(look_, 0, 2);
    layout->addWidget(found_, 1, 0, 1, 3);
    layout->addWidget(said_, 2, 0, 1, 3);
    layout->addWidget(buttons, 3, 0, 1, 3);

    connect(look_, &QPushButton::clicked, this, [this] { Look(); });
    connect(found_, &QListWidget::itemChanged, this,
            [this] { add_->setEnabled(!Picked().empty()); });
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    // Asking the network takes a moment: the servers are offered as they come.
    Busy(+1);
    asking_ = std::jthread([this, &announced] {
      to_dialog_.Post([this, servers = announced()] {
        // The first server offered would take the place of what the person typed.
        const QString typed = where_->currentText();
        for (const std::string& server : servers) {
          const QString name = QString::fromStdString(server);
          // Server names are the same whatever their case ("\\ANN-PC", as NetBIOS says it).
          if (where_->findText(name, Qt::MatchFixedString) < 0) where_->addItem(name);
        }
        if (!typed.isEmpty()) where_->setEditText(typed);
        Busy(-1);
      });
    });
  }

  // The folders of the colleagues ticked.
  std::vector<std::string> Picked() const {
    std::vector<std::string> picked;
    for (int i = 0; i < found_->count(); ++i) {
      const QListWidgetItem* line = found_->item(i);
      if ((line->flags() & Qt::ItemIsEnabled) && line->checkState() == Qt::Checked) {
        picked.push_back(line->data(Qt::UserRole).toString().toStdString());
      }
    }
    return picked;
  }

 private:
  // Looks where the person said, on a thread of its own: the dialog stays with the
  // person meanwhile, and Look waits until the answer is shown.
  void Look() {
    const std::string where = where_->currentText().trimmed().toStdString();
    if (where.empty()) return;
    said_->setText("Looking in " + QString::fromStdString(where) + "...");
    look_->setEnabled(false);
    Busy(+1);
    looking_ = std::jthread([this, where] {
      to_dialog_.Post([this, where, found = find_(where)] {
        Busy(-1);
        look_->setEnabled(true);
        Show(where, found);
      });
    });
  }

  // Lists the colleagues found in `where`, those not yet listed ticked.
  void Show(const std::string& where, const FoundUsers& found) {
    const QSignalBlocker quiet(found_);
    found_->clear();
    for (const FoundUser& user : found.users) {
      const bool listed = std::find(listed_.begin(), listed_.end(), user.folder) != listed_.end();
      // "In your list" goes beside the name: after a long folder it would be out of sight.
      const QString state =
          QString(user.record.is_on() ? "on" : "off") + (listed ? ", in your list" : "");
      auto* line = new QListWidgetItem(QString::fromStdString(user.record.Name()) + " (" + state +
                                           ")  " + QString::fromStdString(user.folder),
                                       found_);
      line->setData(Qt::UserRole, QString::fromStdString(user.folder));
      line->setFlags(listed ? Qt::ItemIsUserCheckable
                            : Qt::ItemIsUserCheckable | Qt::ItemIsEnabled);
      line->setCheckState(listed ? Qt::Unchecked : Qt::Checked);
    }
    said_->setText(!found.users.empty() ? QString::number(found.users.size()) + " found"
                   : !found.trouble.empty()
                       ? QString::fromStdString(found.trouble)
                       : "No colleagues found in " + QString::fromStdString(where) +
                             " (no folder there holds a Parlavox user)");
    add_->setEnabled(!Picked().empty());
    if (found.users.empty()) AskForAccountWhereRefused(found.trouble);
  }

  // The pointer says that the network is being asked while anything is.
  void Busy(int change) {
    busy_ += change;
    if (busy_ > 0) {
      setCursor(Qt::BusyCursor);
    } else {
      unsetCursor();
    }
  }

  // A server that refused the account is asked with the one the person gives, if any.
  void AskForAccountWhereRefused(const std::string& trouble) {
    const std::optional<std::string> host = RefusingServer(trouble);
    if (!host || !give_account_) return;
    bool given = false;
    auto* ask = new AccountDialog(
        this, *host, trouble,
        [&](const std::string& server, const Credentials& account, bool remember) {
          give_account_(server, account, remember);
          given = true;
        });
    ask->exec();
    if (given) Look();
  }

  const ColleagueFinder& find_;
  const AccountGiver& give_account_;
  const std::vector<std::string>& listed_;
  QComboBox* where_;
  QPushButton* look_;
  QListWidget* found_;
  QLabel* said_;
  QPushButton* add_;
  int busy_ = 0;  // questions to the network not yet answered
  // What the threads found comes back through `to_dialog_`; a dialog closed while they
  // ask waits for them as it goes.
  QtTaskPoster to_dialog_;
  std::jthread asking_;   // the servers on the network
  std::jthread looking_;  // the last look
};

}  // namespace

std::vector<std::string> RunFindColleaguesDialog(QWidget* owner, const ColleagueFinder& find,
                                                 const ServerFinder& announced,
                                                 const AccountGiver& give_account,
                                                 const std::vector<std::string>& listed) {
  FindColleaguesDialog dialog(owner, find, announced, give_account, listed);
  return dialog.exec() == QDialog::Accepted ? dialog.Picked() : std::vector<std::string>{};
}

}  // namespace parlavox
