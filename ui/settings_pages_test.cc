// The settings pages and their dialogs in-process, on Qt's offscreen platform, with
// settings of the test's own and stand-ins for the mixer and start at login; the desktop
// tests use the sheet with real key presses and clicks.

#include "ui/settings_pages.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QTest>
#include <map>

#include <gtest/gtest.h>

#include "core/intercom_fakes_test_util.h"
#include "settings/general_settings.h"
#include "settings/scratch_settings_test_util.h"
#include "ui/decibel_edit.h"
#include "ui/device_lists.h"
#include "ui/key_dialogs.h"
#include "ui/settings_sheet.h"
#include "ui/widget_test_util.h"

namespace parlavox {
namespace {

class SettingsPagesTest : public ScratchSettingsTest {
 protected:
  std::string Value(const std::string& key, std::string_view section = kKeysSection) {
    return settings_.FindText(section, key).value_or("<missing>");
  }
  UsersCache users_{settings_};
  KeyAssignments keys_{settings_, users_};
  FakeMixer mixer_;
  FakeStartAtLogin login_;
  // Finds Ann and Ben wherever it is asked to look.
  FoundUsers Find(const std::string& where) {
    looked_in_.push_back(where);
    return {{{where + "/ann", {}}, {where + "/ben", {}}}};
  }
  std::vector<std::string> looked_in_;
  std::vector<IdentityChange> identity_changes_;
  SettingsContext context_{
      settings_,
      folders_,
      users_,
      keys_,
      mixer_,
      login_,
      [](int) { return ""; },
      {},
      [this](const std::string& where) { return Find(where); },
      [] { return std::vector<std::string>{}; },
      {},
      [] { return MakeUserRecord("Ann", 101, true); },
      [this](const IdentityChange& change) { identity_changes_.push_back(change); }};
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
    Named<QPushButton>(select_command, "Change Key")->click();
    EXPECT_NE(Reading<QLabel>(select_command, "Shift+F6"), nullptr);
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
  QPushButton* add = Named<QPushButton>(page.get(), "Add...");
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

// The General page writes what it shows when it is left: a level typed, start at login
// ticked, the inward folder typed anew, the name colleagues see. Devices not there now
// (as where no sound server answers here) show as the default and are kept with their
// record source, unless the person picks a line.
TEST_F(SettingsPagesTest, TheGeneralPageWritesWhatItShowsWhenItIsLeft) {
  settings_.WriteInt(kSettingsSection, "soundoutdevice", 2);
  settings_.WriteText(kSettingsSection, "soundoutdevicename", "usb-headset");
  settings_.WriteInt(kSettingsSection, "soundindevice", 3);   // kept by place only
  settings_.WriteInt(kSettingsSection, "soundinchannel", 1);  // and a source of its own
  const std::unique_ptr<SettingsPage> page(NewGeneralPage(context_));
  page->Fill();
  std::vector<DeviceList*> devices;  // output, input
  for (QComboBox* list : page->findChildren<QComboBox*>()) {
    if (auto* device_list = dynamic_cast<DeviceList*>(list)) devices.push_back(device_list);
  }
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(devices[1]->currentText(), "System default");
  Q_EMIT devices[0]->activated(0);  // the person picks the default output
  auto* output_level = page->findChildren<LDBEdit*>().value(0);
  ASSERT_NE(output_level, nullptr);
  auto* level_text = output_level->findChild<QLineEdit*>();
  level_text->selectAll();
  QTest::keyClicks(level_text, "-6");
  Named<QCheckBox>(page.get(), "Run Parlavox automatically on tray at start-up")->click();
  std::map<QString, QLineEdit*> edits;  // by their names; the folder's has none
  for (QLineEdit* edit : page->findChildren<QLineEdit*>()) {
    if (dynamic_cast<LDBEdit*>(edit->parentWidget()) == nullptr) {
      edits[edit->accessibleName()] = edit;
    }
  }
  ASSERT_EQ(edits.size(), 2u);
  std::filesystem::create_directory(scratch_ / "moved");  // chosen by browsing
  Answer("Locate incoming audio files folder", [&](QDialog* browser) {
    qobject_cast<QFileDialog*>(browser)->setDirectory(QString::fromStdString(scratch_ / "moved"));
    browser->accept();
  });
  Named<QPushButton>(page.get(), "&Change")->click();
  edits["Your name"]->selectAll();
  QTest::keyClicks(edits["Your name"], " Ann Smith ");
  EXPECT_EQ(Value("soundoutvolume", kSettingsSection), "<missing>");  // nothing before leaving
  page->Save();
  EXPECT_EQ(Value("soundoutvolume", kSettingsSection), "-6dB");
  EXPECT_EQ(Value("soundoutdevice", kSettingsSection), "0");
  EXPECT_EQ(Value("soundoutdevicename", kSettingsSection), "");
  EXPECT_EQ(Value("soundindevice", kSettingsSection), "3");
  EXPECT_EQ(Value("soundinchannel", kSettingsSection), "1");
  EXPECT_TRUE(login_.on);
  EXPECT_EQ(LoadGeneralSettings(settings_, folders_, login_).inward_folder, scratch_ / "moved");
  ASSERT_EQ(identity_changes_.size(), 1u);
  EXPECT_EQ(identity_changes_[0].name, "Ann Smith");
  page->Save();  // left again untouched: nothing more
  EXPECT_EQ(identity_changes_.size(), 1u);
  const std::string written = FileText(settings_.settings_path());
  const std::unique_ptr<SettingsPage> again(NewGeneralPage(context_));  // opened afresh
  again->Fill();
  again->Save();
  EXPECT_EQ(FileText(settings_.settings_path()), written);
  EXPECT_TRUE(login_.on);
}

// The sheet's OK saves the page shown, as leaving it would; Cancel leaves it unsaved.
TEST_F(SettingsPagesTest, TheSheetSavesThePageShownOnOkOnly) {
  for (const bool ok : {false, true}) {
    Answer("Settings", [ok](QDialog* sheet) {
      auto* level = sheet->findChildren<LDBEdit*>().value(0)->findChild<QLineEdit*>();
      level->selectAll();
      QTest::keyClicks(level, "-6");
      sheet->findChild<QDialogButtonBox*>()
          ->button(ok ? QDialogButtonBox::Ok : QDialogButtonBox::Cancel)
          ->click();
    });
    RunSettingsSheet(nullptr, context_);
    EXPECT_EQ(Value("soundoutvolume", kSettingsSection), ok ? "-6dB" : "<missing>");
  }
}

// The sheet is as tall as its tallest page; on a screen too small for that (here: with
// a font three times the size; on a laptop's 1080 lines at twice the scale) it is cut
// to the screen, title bar and all, and its pages scroll with OK still in sight. Tab
// goes from control to control, never to the page itself.
TEST_F(SettingsPagesTest, TheSheetIsCutToTheScreenOnlyWhereItMust) {
  const QFont usual = QApplication::font();
  for (const double scale : {1.0, 3.0}) {
    QFont font = usual;
    font.setPointSizeF(usual.pointSizeF() * scale);
    QApplication::setFont(font);
    Answer("Settings", [scale](QDialog* sheet) {
      const int room = sheet->screen()->availableGeometry().height();
      EXPECT_EQ(sheet->sizeHint().height() > room, scale > 1);  // the case at hand
      EXPECT_LT(sheet->height(), room) << scale;
      if (scale == 1) {
        EXPECT_EQ(sheet->size(), sheet->sizeHint());
      }
      for (int i = 0; i < 12; ++i) {
        QWidget* focus = sheet->focusWidget();
        QTest::keyClick(focus != nullptr ? focus : sheet, Qt::Key_Tab);
        EXPECT_EQ(qobject_cast<QScrollArea*>(sheet->focusWidget()), nullptr) << i;
      }
      sheet->reject();
    });
    RunSettingsSheet(nullptr, context_);
  }
  QApplication::setFont(usual);
}

// The Users page adds a folder typed at once, and those found on the network all at once,
// each once; a folder removed goes at once.
TEST_F(SettingsPagesTest, TheUsersPageAddsFoldersTypedAndFound) {
  const std::unique_ptr<SettingsPage> page(NewUsersPage(context_));
  page->Fill();
  Answer("Locate user folder", [](QDialog* locate) {
    QTest::keyClicks(locate->findChild<QLineEdit*>(), " /srv/office/cid ");
    locate->accept();
  });
  Named<QPushButton>(page.get(), "Add...")->click();
  EXPECT_EQ(Value("folder0", kUsersSection), "/srv/office/cid");
  const auto find_in_office = [&] {
    Answer("Find on network", [](QDialog* find) {
      auto* where = find->findChild<QComboBox*>();
      where->setEditText("/srv/office");
      QTest::keyClick(where, Qt::Key_Return);  // looks
      ASSERT_TRUE(QTest::qWaitFor([&] { return find->findChild<QListWidget*>()->count() > 0; }));
      find->accept();
    });
    Named<QPushButton>(page.get(), "Find on network…")->click();
  };
  find_in_office();
  EXPECT_EQ(looked_in_, std::vector<std::string>{"/srv/office"});
  EXPECT_EQ(Value("folder1", kUsersSection), "/srv/office/ann");
  EXPECT_EQ(Value("folder2", kUsersSection), "/srv/office/ben");
  find_in_office();  // finds them listed already
  EXPECT_EQ(page->findChild<QListWidget*>()->count(), 3);
  page->findChild<QListWidget*>()->setCurrentRow(1);
  Named<QPushButton>(page.get(), "Remove")->click();
  EXPECT_EQ(Value("folder1", kUsersSection), "/srv/office/ben");
  EXPECT_EQ(page->findChild<QListWidget*>()->count(), 2);
}

}  // namespace
}  // namespace parlavox
