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
    look_everywhere_ = new QPushButton("Look &in all");
    look_everywhere_->setToolTip("Looks in every server offered");
    look_everywhere_->setEnabled(where_->count() > 0);
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
    layout->addWidget(look_everywhere_, 0, 3);
    layout->addWidget(found_, 1, 0, 1, 4);
    layout->addWidget(said_, 2, 0, 1, 4);
    layout->addWidget(buttons, 3, 0, 1, 4);

    connect(look_, &QPushButton::clicked, this, [this] { Look(); });
    connect(look_everywhere_, &QPushButton::clicked, this, [this] { LookEverywhere(); });
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
        look_everywhere_->setEnabled(where_->count() > 0 && look_->isEnabled());
        Busy(-1);
      });
    });
  }

  // Closed, the dialog asks a look that runs to stop after the server it asks.
  void done(int result) override {
    looking_.request_stop();
    QDialog::done(result);
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
  // person meanwhile, and the Look buttons wait until the answer is shown.
  void Look() {
    const std::string where = where_->currentText().trimmed().toStdString();
    if (where.empty()) return;
    said_->setText("Looking in " + QString::fromStdString(where) + "...");
    Looking(true);
    looking_ = std::jthread([this, where] {
      to_dialog_.Post([this, where, found = find_(where)] {
        Looking(false);
        Show(where, found);
      });
    });
  }

  // Looks in every server offered, one after another, listing the colleagues of each as
  // they come; what kept a server from being looked in is said, not asked about.
  void LookEverywhere() {
    std::vector<std::string> servers;
    for (int i = 0; i < where_->count(); ++i) servers.push_back(where_->itemText(i).toStdString());
    const QString counted =
        QString::number(servers.size()) + (servers.size() == 1 ? " server" : " servers");
    said_->setText("Looking in " + counted + "...");
    Clear();
    Looking(true);
    looking_ = std::jthread([this, servers, counted](std::stop_token closing) {
      std::vector<std::string> trouble;
      for (const std::string& server : servers) {
        if (closing.stop_requested()) return;
        FoundUsers found = find_(server);
        if (!found.trouble.empty()) trouble.push_back(found.trouble);
        to_dialog_.Post([this, users = std::move(found.users)] { List(users); });
      }
      to_dialog_.Post([this, counted, trouble] {
        Looking(false);
        QString said = (found_->count() > 0 ? QString::number(found_->count()) + " found in "
                                            : QString("No colleagues found in ")) +
                       counted;
        for (const std::string& sentence : trouble) said += ". " + QString::fromStdString(sentence);
        said_->setText(said);
      });
    });
  }

  // Lists the colleagues found in `where`, those not yet listed ticked.
  void Show(const std::string& where, const FoundUsers& found) {
    Clear();
    List(found.users);
    said_->setText(!found.users.empty() ? QString::number(found.users.size()) + " found"
                   : !found.trouble.empty()
                       ? QString::fromStdString(found.trouble)
                       : "No colleagues found in " + QString::fromStdString(where) +
                             " (no folder there holds a Parlavox user)");
    if (found.users.empty()) AskForAccountWhereRefused(found.trouble);
  }

  void Clear() {
    found_->clear();
    add_->setEnabled(false);
  }

  // Adds the colleagues to the list, those not yet listed ticked.
  void List(const std::vector<FoundUser>& users) {
    const QSignalBlocker quiet(found_);
    for (const FoundUser& user : users) {
      const QString folder = QString::fromStdString(user.folder);
      const bool listed = std::find(listed_.begin(), listed_.end(), user.folder) != listed_.end();
      // "In your list" goes beside the name: after a long folder it would be out of sight.
      const QString state =
          QString(user.record.is_on() ? "on" : "off") + (listed ? ", in your list" : "");
      auto* line = new QListWidgetItem(
          QString::fromStdString(user.record.Name()) + " (" + state + ")  " + folder, found_);
      line->setData(Qt::UserRole, folder);
      line->setFlags(listed ? Qt::ItemIsUserCheckable
                            : Qt::ItemIsUserCheckable | Qt::ItemIsEnabled);
      line->setCheckState(listed ? Qt::Unchecked : Qt::Checked);
    }
    add_->setEnabled(!Picked().empty());
  }

  // While a look runs, the Look buttons wait for it.
  void Looking(bool looking) {
    look_->setEnabled(!looking);
    look_everywhere_->setEnabled(!looking && where_->count() > 0);
    Busy(looking ? +1 : -1);
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
  QPushButton* look_everywhere_;
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
