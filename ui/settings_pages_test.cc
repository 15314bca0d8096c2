// The settings pages and their dialogs in-process, on Qt's offscreen platform, with
// settings of the test's own and stand-ins for the mixer and start at login; the desktop
// tests use the sheet with real key presses and clicks.

#include "ui/settings_pages.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <algorithm>

#include <gtest/gtest.h>

#include "core/intercom_fakes_test_util.h"
#include "ui/key_dialogs.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

class NoStartAtLogin : public StartAtLogin {
 public:
  bool IsOn() const override { return false; }
  void Set(bool) override {}
};

class SettingsPagesTest : public testing::Test {
 protected:
  SettingsPagesTest() { settings_.LocateFolders(folders_, scratch_.path()); }

  std::string Value(const std::string& key) {
    return settings_.FindText(kKeysSection, key).value_or("<missing>");
  }
  // Does `steps` in the dialog titled `title` once it shows; it must close it.
  static void Answer(const QString& title, std::function<void(QDialog*)> steps) {
    auto* timer = new QTimer;
    QObject::connect(timer, &QTimer::timeout, [timer, title, steps = std::move(steps)] {
      auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
      if (dialog == nullptr || dialog->windowTitle() != title) return;
      timer->deleteLater();
      timer->stop();
      steps(dialog);
      if (dialog->isVisible()) {  // rather than hang the test
        ADD_FAILURE() << title.toStdString() << " is still open";
        dialog->reject();
      }
    });
    timer->start(10);
  }
  ScratchFolder scratch_;
  FolderStore folders_{scratch_ / "user.ini", scratch_ / "machine.ini"};
  SettingsFile settings_;
  UsersCache users_{settings_};
  KeyAssignments keys_{settings_, users_};
  FakeMixer mixer_;
  NoStartAtLogin login_;
  SettingsContext context_{
      settings_, folders_, users_, keys_, mixer_, login_, [](int) { return ""; }, {}, {}, {}};
};

TEST_F(SettingsPagesTest, AKeyIsWrittenAsItIsPressedAndCanBePressedAnewWhereTheCommandIsChosen) {
  Answer("Press Key", [](QDialog* press_key) {
    QTest::keyClick(press_key, Qt::Key_Return);  // swallowed
    QTest::keyPress(press_key, Qt::Key_Shift);   // alone: waited past
    EXPECT_TRUE(press_key->isVisible());
    QTest::keyClick(press_key, Qt::Key_F9, Qt::ControlModifier | Qt::AltModifier);
  });
  RunPressKeyDialog(nullptr, keys_, 0);
  EXPECT_EQ(Value("key0"), "120");
  EXPECT_EQ(Value("mod0"), "3");

  // "Change Key" presses one anew there; OK writes the command picked ("Open Parlavox").
  Answer("Select Command", [](QDialog* select_command) {
    Answer("Press Key",
           [](QDialog* press_key) { QTest::keyClick(press_key, Qt::Key_F6, Qt::ShiftModifier); });
    for (QPushButton* button : select_command->findChildren<QPushButton*>()) {
      if (button->text() == "Change Key") button->click();
    }
    const QList<QLabel*> labels = select_command->findChildren<QLabel*>();
    EXPECT_TRUE(std::any_of(labels.begin(), labels.end(),
                            [](const QLabel* label) { return label->text() == "Shift+F6"; }));
    select_command->findChild<QComboBox*>()->setCurrentIndex(0);
    select_command->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
  });
  EXPECT_TRUE(RunSelectCommandDialog(nullptr, keys_, users_, 1));
  EXPECT_EQ(Value("command1"), "1");
  EXPECT_EQ(keys_.KeyText(1), "Shift+F6");
}

// "Add..." on the Keys page asks for a key, then for its command: an add whose key was
// cancelled still asks, and only a command chosen adds the line.
TEST_F(SettingsPagesTest, TheKeysPageAddsALineOnlyWhenACommandIsChosen) {
  const std::unique_ptr<SettingsPage> page(NewKeysPage(context_));
  page->Fill();
  QPushButton* add = nullptr;
  for (QPushButton* button : page->findChildren<QPushButton*>()) {
    if (button->text() == "Add...") add = button;
  }
  ASSERT_NE(add, nullptr);
  const auto add_with = [&](const std::function<void(QDialog*)>& choose) {
    Answer("Press Key", [](QDialog* press_key) { QTest::keyClick(press_key, Qt::Key_Escape); });
    Answer("Select Command", choose);
    add->click();
  };
  add_with([](QDialog* select_command) { select_command->reject(); });
  EXPECT_EQ(Value("keycount"), "<missing>");
  add_with([](QDialog* select_command) {
    select_command->findChild<QComboBox*>()->setCurrentIndex(0);  // "Open Parlavox"
    select_command->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
  });
  EXPECT_EQ(Value("keycount"), "1");
  EXPECT_EQ(Value("command0"), "1");
  EXPECT_EQ(Value("key0"), "<missing>");  // read as Enter without modifiers
}

}  // namespace
}  // namespace parlavox
