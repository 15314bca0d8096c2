// The settings pages that keep lists: Users and Keys. Every change is written at once.

#include <QGridLayout>
#include <QGroupBox>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>
#include <functional>

#include "ui/find_colleagues_dialog.h"
#include "ui/folder_prompt.h"
#include "ui/help.h"
#include "ui/key_dialogs.h"
#include "ui/settings_pages.h"

namespace parlavox {
namespace {

// A list in a group box with "Add...", "Remove" and "Change..."; the last two only
// while a line is selected.
class ListPage : public SettingsPage {
 protected:
  ListPage(const QString& title, int help_topic) : help_topic_(help_topic) {
    auto* group = new QGroupBox(title);
    list_ = new QListWidget;
    auto* add = new QPushButton("Add...");
    remove_ = new QPushButton("Remove");
    change_ = new QPushButton("Change...");
    buttons_ = new QVBoxLayout;
    buttons_->addWidget(add);
    buttons_->addWidget(remove_);
    buttons_->addWidget(change_);
    buttons_->addStretch();
    auto* inner = new QGridLayout(group);
    inner->addWidget(list_, 0, 0);
    inner->addLayout(buttons_, 0, 1);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(group);
    connect(list_, &QListWidget::currentRowChanged, this, [this] { UpdateControls(); });
    connect(add, &QPushButton::clicked, this, [this] { Act([this] { Add(); }); });
    connect(remove_, &QPushButton::clicked, this, [this] { Act([this] { Remove(Selected()); }); });
    connect(change_, &QPushButton::clicked, this, [this] { Act([this] { Change(Selected()); }); });
  }

  virtual void Add() = 0;
  virtual void Remove(int line) = 0;
  virtual void Change(int line) = 0;
  virtual QStringList Lines() const = 0;

  void Fill() override {
    list_->clear();
    list_->addItems(Lines());
    // A line wider than the list (a long folder, the desktop's own keys) shows whole
    // when pointed at.
    for (int i = 0; i < list_->count(); ++i) {
      list_->item(i)->setToolTip(list_->item(i)->text());
    }
    UpdateControls();
  }
  int help_topic() const override { return help_topic_; }
  int Selected() const { return list_->currentRow(); }
  // A button of the page's own below the others, doing `act` and showing the list anew.
  void AddButton(const QString& text, const std::function<void()>& act) {
    auto* button = new QPushButton(text);
    buttons_->insertWidget(buttons_->count() - 1, button);
    connect(button, &QPushButton::clicked, this, [this, act] { Act(act); });
  }

 private:
  void Act(const std::function<void()>& act) {
    act();
    Fill();
  }
  void UpdateControls() {
    const bool selected = list_->currentRow() >= 0;
    remove_->setEnabled(selected);
    change_->setEnabled(selected);
  }

  int help_topic_;
  QVBoxLayout* buttons_;
  QListWidget* list_;
  QPushButton* remove_;
  QPushButton* change_;
};

class UsersPage : public ListPage {
 public:
  explicit UsersPage(const SettingsContext& context)
      : ListPage("Other Users' Audio Folders", help::kUsersPage),
        users_(context.users),
        find_(context.find_colleagues),
        announced_(context.announced_servers),
        give_account_(context.give_account) {
    AddButton("Find on network…", [this] { FindOnNetwork(); });
  }

 private:
  QStringList Lines() const override {
    QStringList lines;
    for (int i = 0; i < users_.Count(); ++i) lines << QString::fromStdString(users_.Folder(i));
    return lines;
  }
  void Add() override {
    if (auto folder = AskForFolder(this, "Locate user folder", "")) {
      users_.AddFolder(folder->toStdString());
    }
  }
  void Remove(int line) override { users_.RemoveFolder(line); }
  void Change(int line) override {
    if (line < 0) return;
    if (auto folder = AskForFolder(this, "Locate user folder", "")) {
      users_.ChangeFolder(line, folder->toStdString());
    }
  }

  void FindOnNetwork() {
    std::vector<std::string> listed;
    for (int i = 0; i < users_.Count(); ++i) listed.push_back(users_.Folder(i));
    for (const std::string& folder :
         RunFindColleaguesDialog(this, find_, announced_, give_account_, listed)) {
      users_.AddFolder(folder);
    }
  }

  UsersCache& users_;
  const ColleagueFinder& find_;
  const ServerFinder& announced_;
  const AccountGiver& give_account_;
};

class KeysPage : public ListPage {
 public:
  explicit KeysPage(const SettingsContext& context)
      : ListPage("System-Wide Hot Key Assignment", help::kKeysPage),
        keys_(context.keys),
        users_(context.users),
        desktop_binding_(context.desktop_binding) {}

 private:
  QStringList Lines() const override {
    QStringList lines;
    for (int i = 0; i < keys_.Count(); ++i) {
      lines << QString::fromStdString(
          keys_.Line(i, desktop_binding_ ? desktop_binding_(i) : std::string()));
    }
    return lines;
  }
  // The command is chosen even after a cancelled key: the assignment then has whatever
  // key its place held before, as the program always did.
  void Add() override {
    const int n = keys_.Count();
    RunPressKeyDialog(this, keys_, n);
    if (RunSelectCommandDialog(this, keys_, users_, n)) keys_.SetCount(n + 1);
  }
  void Remove(int line) override { keys_.Remove(line); }
  void Change(int line) override {
    if (line >= 0) RunSelectCommandDialog(this, keys_, users_, line);
  }

  KeyAssignments& keys_;
  UsersCache& users_;
  std::function<std::string(int)> desktop_binding_;
};

}  // namespace

SettingsPage* NewUsersPage(const SettingsContext& context) { return new UsersPage(context); }
SettingsPage* NewKeysPage(const SettingsContext& context) { return new KeysPage(context); }

}  // namespace parlavox
