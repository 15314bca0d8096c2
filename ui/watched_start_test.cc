// Programs started for the person that fail soon after they started: stand-ins for
// xdg-open and the mixers, alone on PATH.

#include "ui/watched_start.h"

#include <sys/stat.h>

#include <QTest>
#include <filesystem>
#include <memory>

#include <gtest/gtest.h>

#include "ui/device_lists.h"
#include "ui/help.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

class WatchedStartTest : public testing::Test {
 protected:
  WatchedStartTest() { qputenv("PATH", QByteArray::fromStdString(tools_.path())); }
  ~WatchedStartTest() override { qputenv("PATH", path_); }

  // The stand-in for `program` runs `script`, then exits with `code`.
  void StandIn(const std::string& program, const std::string& script, int code) {
    const std::string path = tools_ / program;
    WriteFileText(path, "#!/bin/sh\n" + script + "\nexit " + std::to_string(code) + "\n");
    std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  }

  // A flag for a failure, and the call that sets it.
  using Flag = std::shared_ptr<bool>;
  static Flag NewFlag() { return std::make_shared<bool>(false); }
  static std::function<void()> Setting(const Flag& flag) {
    return [flag] { *flag = true; };
  }

  Flag Open(QObject* context) {
    const Flag failed = NewFlag();
    OpenInBrowser(QUrl("file:///nowhere.html"), context, Setting(failed));
    return failed;
  }

  ScratchFolder tools_;
  const QByteArray path_ = qgetenv("PATH");
  QObject context_;
};

TEST_F(WatchedStartTest, AnOpenerThatFailsIsSaidOnlyWhileItsAskerLives) {
  // One that opened the browser says nothing.
  const std::string opened = tools_ / "opened";
  StandIn("xdg-open", "echo \"$1\" > '" + opened + "'", 0);
  const Flag fine = Open(&context_);
  ASSERT_TRUE(QTest::qWaitFor([&] { return std::filesystem::exists(opened); }, 5000));

  // One whose asker went before it failed says nothing and harms nothing.
  const std::string go = tools_ / "go";
  StandIn("xdg-open", "read line < '" + go + "'", 4);
  ASSERT_EQ(mkfifo(go.c_str(), 0600), 0);
  auto asker = std::make_unique<QObject>();
  const Flag gone = Open(asker.get());
  asker.reset();
  WriteFileText(go, "go\n");

  // One that fails while its asker is there is said; the ends of those before it were
  // seen by then.
  StandIn("xdg-open", "", 4);
  const Flag failed = Open(&context_);
  EXPECT_TRUE(QTest::qWaitFor([&] { return *failed; }, 5000));
  EXPECT_EQ(FileText(opened), "file:///nowhere.html\n");
  EXPECT_FALSE(*fine);
  EXPECT_FALSE(*gone);
}

TEST_F(WatchedStartTest, AMixerThatFailsHandsOnToTheNextAndNoneLeftIsSaid) {
  const std::string opened = tools_ / "opened";
  StandIn("pavucontrol", "", 1);  // outside its desktop, say
  StandIn("gnome-control-center", "echo \"$1\" > '" + opened + "'", 0);
  const Flag none_at_first = NewFlag();
  OpenRecordMixer(&context_, Setting(none_at_first));
  ASSERT_TRUE(QTest::qWaitFor([&] { return std::filesystem::exists(opened); }, 5000));
  EXPECT_EQ(FileText(opened), "sound\n");

  StandIn("gnome-control-center", "", 1);  // and no others
  const Flag none = NewFlag();
  OpenRecordMixer(&context_, Setting(none));
  EXPECT_TRUE(QTest::qWaitFor([&] { return *none; }, 5000));
  EXPECT_FALSE(*none_at_first);
}

}  // namespace
}  // namespace parlavox
