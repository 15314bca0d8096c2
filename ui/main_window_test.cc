// The window's logic in-process, on Qt's offscreen platform: what it shows of the
// intercom, and what keys and the mouse ask of it. The intercom runs on fakes; the
// desktop tests drive the real program with real key presses.

#include "ui/main_window.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMenu>
#include <QMenuBar>
#include <QPushButton>
#include <QTest>
#include <atomic>
#include <future>
#include <semaphore>

#include <gtest/gtest.h>

#include "core/intercom_bench_test_util.h"
#include "ui/find_colleagues_dialog.h"
#include "ui/widget_test_util.h"
#include "words/server_trouble.h"

namespace parlavox {
namespace {

using namespace std::chrono_literals;

class MainWindowTest : public IntercomBench {
 protected:
  MainWindowTest() { views_.Add(&window_); }
  ~MainWindowTest() override {
    intercom_.End();
    views_ = FanOutView({&view_});  // the window goes before the intercom does
  }

  QListWidget* Users() { return window_.findChild<QListWidget*>(); }
  QPushButton* Button(const QString& text) { return Named<QPushButton>(&window_, text); }

  struct Given {
    std::string host;
    Credentials account;
    bool remember;
  };
  std::vector<Given> given_;
  int settings_opened_ = 0;
  MainWindow window_{intercom_, clock_, nullptr, [this] { ++settings_opened_; },
                     [this](const std::string& host, const Credentials& account, bool remember) {
                       given_.push_back({host, account, remember});
                     }};
};

TEST_F(MainWindowTest, ShowsTheUsersTheirStateAndTheStatusLine) {
  ListUser("Ann", 101);
  ListUser("Ben", 202, /*on=*/false);
  ListUser("Cid", 303, /*on=*/false, /*reachable=*/false);
  Start();
  poller_.changed({2});  // Cid's folder could not be read
  QListWidget* users = Users();
  ASSERT_EQ(users->count(), 3);
  EXPECT_EQ(users->item(0)->text(), "Ann");
  EXPECT_EQ(users->currentRow(), 0);  // the first is selected
  EXPECT_FALSE(users->item(1)->font().italic());
  EXPECT_TRUE(users->item(2)->font().italic());  // not reached: slanted and greyed
  EXPECT_EQ(users->item(2)->text(), "Cid");      // with the last name read
  EXPECT_FALSE(users->item(2)->toolTip().isEmpty());

  intercom_.ShowStatus("Server fileserver does not answer");
  QLabel* status = Reading<QLabel>(&window_, "Server fileserver does not answer");
  ASSERT_NE(status, nullptr);
  EXPECT_TRUE(status->toolTip().contains(status->text()));  // whole, where it is cut
  clock_.Advance(std::chrono::seconds(13));                 // an idle text follows, without one
  EXPECT_NE(status->text(), "Server fileserver does not answer");
  EXPECT_EQ(status->toolTip(), "");
}

TEST_F(MainWindowTest, F5HeldCallsTheSelectedUserAndLettingGoEndsTheCall) {
  ListUser("Ann", 101);
  ListUser("Ben", 202);
  Start();
  QListWidget* users = Users();
  QTest::keyClick(users, Qt::Key_Down);  // Ben
  QTest::keyPress(users, Qt::Key_F5);
  ASSERT_EQ(share_.opened.size(), 1u);
  EXPECT_EQ(share_.opened[0].substr(0, 9), "/srv/Ben/");
  EXPECT_TRUE(recorder_.is_recording());
  EXPECT_TRUE(Button("Call")->isDown());  // shown pushed while the key is held
  EXPECT_FALSE(Button("Reply")->isDown());
  QKeyEvent repeat(QEvent::KeyPress, Qt::Key_F5, Qt::NoModifier, QString(), /*autorep=*/true);
  QApplication::sendEvent(users, &repeat);  // the key repeats: that starts nothing
  EXPECT_EQ(share_.opened.size(), 1u);
  QTest::keyRelease(users, Qt::Key_F5);
  clock_.Advance(WindowKeys::kRepeatWait + 1ms);  // no repeat followed: a real release
  EXPECT_FALSE(recorder_.is_recording());
  EXPECT_FALSE(Button("Call")->isDown());
  QTest::keyPress(users, Qt::Key_F6);  // a reply, to Ben while nobody called
  EXPECT_TRUE(Button("Reply")->isDown());
  EXPECT_FALSE(Button("Call")->isDown());
  QTest::keyRelease(users, Qt::Key_F6);
  clock_.Advance(WindowKeys::kRepeatWait + 1ms);
  EXPECT_FALSE(Button("Reply")->isDown());

  // "F" turns the intercom off, and the call buttons with it; "O" on again.
  QTest::keyClick(users, Qt::Key_F);
  EXPECT_EQ(view_.on, false);
  EXPECT_FALSE(Button("Call")->isEnabled());
  QTest::keyClick(users, Qt::Key_O, Qt::ControlModifier);
  EXPECT_EQ(view_.on, true);
  EXPECT_TRUE(Button("Call")->isEnabled());
}

// The Intercom menu does what the keys do, and shows whether the intercom is on.
TEST_F(MainWindowTest, TheIntercomMenuSwitchesCallsAndOpensTheSettings) {
  ListUser("Ann", 101);
  Start();
  QMenu* menu = window_.menuBar()->actions().value(0)->menu();
  ASSERT_NE(menu, nullptr);
  const auto item = [&](const QString& text) {
    for (QAction* action : menu->actions()) {
      if (action->text() == text) return action;
    }
    ADD_FAILURE() << "no " << text.toStdString();
    return new QAction(menu);
  };
  item("O&ff\tCtrl+F")->trigger();
  EXPECT_EQ(view_.on, false);
  EXPECT_TRUE(item("O&ff\tCtrl+F")->isChecked());
  EXPECT_FALSE(item("&On\tCtrl+O")->isChecked());
  item("&On\tCtrl+O")->trigger();
  EXPECT_EQ(view_.on, true);
  EXPECT_TRUE(item("&On\tCtrl+O")->isChecked());
  item("Call\tF5")->trigger();  // a call that lasts until asked again
  EXPECT_TRUE(recorder_.is_recording());
  item("Call\tF5")->trigger();
  EXPECT_FALSE(recorder_.is_recording());
  item("Settings...")->trigger();
  EXPECT_EQ(settings_opened_, 1);
}

// A server that refused asks for an account in a dialog that holds nothing up: what is
// typed goes to the session, Cancel gives nothing, and each server is asked about once.
TEST_F(MainWindowTest, AServerThatRefusesAsksForAnAccountWithoutHoldingTheWindowUp) {
  Start();
  const auto dialog = [&] {
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);  // closed ones go
    return window_.findChild<AccountDialog*>();
  };
  poller_.trouble(RefusalSentence("fileserver", "", "give it a user name"));
  ASSERT_NE(dialog(), nullptr);
  EXPECT_FALSE(dialog()->isModal());
  EXPECT_EQ(dialog()->windowTitle(), "Log on to fileserver");
  QTest::keyClicks(dialog()->findChild<QLineEdit*>("username"), " anna ");
  QTest::keyClicks(dialog()->findChild<QLineEdit*>("password"), "pass word");
  QTest::keyClicks(dialog()->findChild<QLineEdit*>("domain"), "OFFICE");
  dialog()->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
  ASSERT_EQ(given_.size(), 1u);
  EXPECT_EQ(given_[0].host, "fileserver");
  EXPECT_EQ(given_[0].account.username, "anna");
  EXPECT_EQ(given_[0].account.password, "pass word");
  EXPECT_EQ(given_[0].account.domain, "OFFICE");
  EXPECT_TRUE(given_[0].remember);
  EXPECT_EQ(dialog(), nullptr);

  poller_.trouble(RefusalSentence("fileserver", "anna", "wrong user name or password"));
  EXPECT_EQ(dialog(), nullptr);  // asked once
  poller_.trouble(RefusalSentence("nas", "", "give it a user name"));
  ASSERT_NE(dialog(), nullptr);
  dialog()->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Cancel)->click();
  EXPECT_EQ(given_.size(), 1u);
  EXPECT_EQ(dialog(), nullptr);
}

// A server that refuses a guest is asked again with the account the person gives; the
// colleagues found are ticked, and those listed already can't be picked again.
TEST(FindColleaguesDialogTest, AServerThatRefusesIsAskedWithAnAccountAndWhoIsFoundIsTicked) {
  std::vector<std::string> given;
  const AccountGiver give = [&](const std::string& host, const Credentials& account, bool) {
    given.push_back(host + " " + account.username);
  };
  const ColleagueFinder find = [&](const std::string& where) {
    EXPECT_EQ(where, "\\\\fileserver");
    if (given.empty()) return FoundUsers{{}, RefusalSentence("fileserver", "", "give it one")};
    return FoundUsers{{{"\\\\fileserver\\office\\ann", MakeUserRecord("Ann", 0, true)},
                       {"\\\\fileserver\\office\\ben", MakeUserRecord("Ben", 0, false)},
                       {"\\\\fileserver\\office\\cid", MakeUserRecord("Cid", 0, true)}}};
  };
  const ServerFinder announced = [] {
    return std::vector<std::string>{"\\\\FILESERVER", "\\\\OFFICEPC"};
  };
  // Looks once the servers are offered, then closes it with Add, whatever the checks found.
  Answer("Find on network", [&](QDialog* dialog) {
    auto* where = dialog->findChild<QComboBox*>();
    // Listed, and announced as NetBIOS says it: once.
    ASSERT_TRUE(QTest::qWaitFor([&] { return where->count() == 2; })) << where->count();
    where->setCurrentIndex(0);
    Answer("Log on to fileserver", [](QDialog* ask) {  // once the look has been refused
      QTest::keyClicks(ask->findChild<QLineEdit*>("username"), "anna");
      ask->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->click();
    });
    QTest::keyClick(where, Qt::Key_Return);  // looks, and again with the account
    auto* found = dialog->findChild<QListWidget*>();
    ASSERT_TRUE(QTest::qWaitFor([&] { return found->count() == 3; }));
    EXPECT_EQ(given, std::vector<std::string>{"fileserver anna"});
    EXPECT_TRUE(found->item(0)->text().startsWith("Ann (on)"));
    EXPECT_EQ(found->item(0)->checkState(), Qt::Checked);
    EXPECT_FALSE(found->item(1)->flags() & Qt::ItemIsEnabled);  // Ben is listed already
    EXPECT_TRUE(found->item(1)->text().startsWith("Ben (off, in your list)"));
    found->item(2)->setCheckState(Qt::Unchecked);  // Cid is left out
    dialog->accept();
  });
  const std::vector<std::string> picked =
      RunFindColleaguesDialog(nullptr, find, announced, give, {"\\\\fileserver\\office\\ben"});
  EXPECT_EQ(picked, std::vector<std::string>{"\\\\fileserver\\office\\ann"});
}

// "Look in all" lists the colleagues of every server offered, and says which server it
// could not look in and why, without asking.
TEST(FindColleaguesDialogTest, LookInAllListsTheColleaguesOfEveryServerOffered) {
  const ColleagueFinder find = [](const std::string& where) {
    if (where == "\\\\OFFICEPC") return FoundUsers{{}, "Server OFFICEPC does not answer"};
    return FoundUsers{{{where + "\\parlavox", MakeUserRecord(where.substr(2), 0, true)}}};
  };
  const ServerFinder announced = [] {
    return std::vector<std::string>{"\\\\BEN-PC", "\\\\OFFICEPC"};
  };
  Answer("Find on network", [&](QDialog* dialog) {
    ASSERT_TRUE(QTest::qWaitFor([&] { return dialog->findChild<QComboBox*>()->count() == 3; }));
    Named<QPushButton>(dialog, "Look &in all")->click();
    EXPECT_TRUE(QTest::qWaitFor([&] {
      return Reading<QLabel>(dialog, "2 found in 3 servers. Server OFFICEPC does not answer");
    }));
    auto* found = dialog->findChild<QListWidget*>();
    ASSERT_EQ(found->count(), 2);
    EXPECT_TRUE(found->item(0)->text().startsWith("ann-pc (on, in your list)"));
    EXPECT_TRUE(found->item(1)->text().startsWith("BEN-PC (on)"));
    dialog->accept();
  });
  EXPECT_EQ(RunFindColleaguesDialog(nullptr, find, announced, {}, {"\\\\ann-pc\\parlavox"}),
            std::vector<std::string>{"\\\\BEN-PC\\parlavox"});
}

// A slow network leaves the dialog to the person: the servers offered come in as they
// answer, without taking the place of what the person typed meanwhile; a look says where
// it looks, and Cancel closes the dialog; what the look finds afterwards goes nowhere,
// and a "Look in all" asks no server after the one it was asking.
TEST(FindColleaguesDialogTest, ASlowNetworkLeavesTheDialogToThePerson) {
  std::promise<void> offer;
  const std::shared_future<void> offered = offer.get_future().share();
  const ServerFinder announced = [offered] {
    offered.wait_for(10s);
    return std::vector<std::string>{"\\\\FILESERVER", "\\\\OFFICEPC"};
  };
  std::counting_semaphore<> answers(0);  // one a look
  std::vector<std::string> asked;        // read once the looks are over
  std::atomic<size_t> asking = 0;
  const ColleagueFinder find = [&](const std::string& where) {
    asked.push_back(where);
    ++asking;
    answers.try_acquire_for(10s);
    return FoundUsers{{{where + "\\office\\ann", MakeUserRecord("Ann", 0, true)}}};
  };
  const auto cancel_while_looking = [&](QDialog* dialog, const QString& looking, size_t asked) {
    EXPECT_NE(Reading<QLabel>(dialog, looking), nullptr);
    EXPECT_TRUE(QTest::qWaitFor([&] { return asking == asked; }));
    dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Cancel)->click();
    answers.release();
  };
  Answer("Find on network", [&](QDialog* dialog) {
    auto* where = dialog->findChild<QComboBox*>();
    QTest::keyClicks(where, "\\\\slow");
    offer.set_value();
    EXPECT_TRUE(QTest::qWaitFor([&] { return where->count() == 2; }));
    EXPECT_EQ(where->currentText(), "\\\\slow");
    QTest::keyClick(where, Qt::Key_Return);
    cancel_while_looking(dialog, "Looking in \\\\slow...", 1);
  });
  EXPECT_TRUE(RunFindColleaguesDialog(nullptr, find, announced, {}, {}).empty());

  Answer("Find on network", [&](QDialog* dialog) {
    auto* look_in_all = Named<QPushButton>(dialog, "Look &in all");
    ASSERT_TRUE(QTest::qWaitFor([&] { return look_in_all->isEnabled(); }));
    look_in_all->click();
    cancel_while_looking(dialog, "Looking in 2 servers...", 2);
  });
  EXPECT_TRUE(RunFindColleaguesDialog(nullptr, find, announced, {}, {}).empty());
  EXPECT_EQ(asked, (std::vector<std::string>{"\\\\slow", "\\\\FILESERVER"}));
}

}  // namespace
}  // namespace parlavox

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
