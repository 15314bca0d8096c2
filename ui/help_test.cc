// The help opened in a browser that fails: a stand-in for xdg-open on PATH.

#include "ui/help.h"

#include <sys/stat.h>

#include <QTest>
#include <filesystem>
#include <memory>

#include <gtest/gtest.h>

#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

class OpenInBrowserTest : public testing::Test {
 protected:
  OpenInBrowserTest() {
    qputenv("PATH", QByteArray::fromStdString(tools_.path()) + ":/usr/bin:/bin");
  }
  ~OpenInBrowserTest() override { qputenv("PATH", path_); }

  // The stand-in runs `script`, then exits with `code`.
  void OpenerDoes(const std::string& script, int code) {
    const std::string opener = tools_ / "xdg-open";
    WriteFileText(opener, "#!/bin/sh\n" + script + "\nexit " + std::to_string(code) + "\n");
    std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
  }

  // Opens through the stand-in; the flag says whether it was said to have failed.
  std::shared_ptr<bool> Open(QObject* context) {
    auto failed = std::make_shared<bool>(false);
    OpenInBrowser(QUrl("file:///nowhere.html"), context, [failed] { *failed = true; });
    return failed;
  }

  ScratchFolder tools_;
  const QByteArray path_ = qgetenv("PATH");
  QObject context_;
};

TEST_F(OpenInBrowserTest, AnOpenerThatFailsIsSaidOnlyWhileItsAskerLives) {
  // One that opened the browser says nothing.
  const std::string opened = tools_ / "opened";
  OpenerDoes("echo \"$1\" > '" + opened + "'", 0);
  const std::shared_ptr<bool> fine = Open(&context_);
  ASSERT_TRUE(QTest::qWaitFor([&] { return std::filesystem::exists(opened); }, 5000));

  // One whose asker went before it failed says nothing and harms nothing.
  const std::string go = tools_ / "go";
  OpenerDoes("read line < '" + go + "'", 4);
  ASSERT_EQ(mkfifo(go.c_str(), 0600), 0);
  auto asker = std::make_unique<QObject>();
  const std::shared_ptr<bool> gone = Open(asker.get());
  asker.reset();
  WriteFileText(go, "go\n");

  // One that fails while its asker is there is said; the ends of those before it were
  // seen by then.
  OpenerDoes("", 4);
  const std::shared_ptr<bool> failed = Open(&context_);
  EXPECT_TRUE(QTest::qWaitFor([&] { return *failed; }, 5000));
  EXPECT_EQ(FileText(opened), "file:///nowhere.html\n");
  EXPECT_FALSE(*fine);
  EXPECT_FALSE(*gone);
}

}  // namespace
}  // namespace parlavox
