#include "setup/terminal_setup_view.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

namespace parlavox {
namespace {

// A terminal made of two temporary files.
class TerminalSetupViewTest : public testing::Test {
 protected:
  TerminalSetupViewTest() : in_(std::tmpfile()), out_(std::tmpfile()) {}
  ~TerminalSetupViewTest() override {
    std::fclose(in_);
    std::fclose(out_);
  }

  void Type(const char* text) {
    std::fputs(text, in_);
    std::rewind(in_);
  }
  std::string Shown() {
    std::string text;
    std::rewind(out_);
    for (int c; (c = std::fgetc(out_)) != EOF;) text += static_cast<char>(c);
    return text;
  }

  FILE* in_;
  FILE* out_;
};

TEST_F(TerminalSetupViewTest, OnlyAnAnswerStartingWithYIsYes) {
  Type("yes\nn\n");
  TerminalSetupView view(/*assume_yes=*/false, in_, out_);
  EXPECT_TRUE(view.AcceptTerms("MIT License"));
  EXPECT_FALSE(view.Confirm("Uninstall Parlavox", "Sure?"));
  EXPECT_FALSE(view.Confirm("Uninstall Parlavox", "Sure?"));  // nothing more typed
  EXPECT_EQ(Shown(),
            "MIT License\nDo you accept these licence terms? [y/N] Uninstall Parlavox\n"
            "Sure? [y/N] Uninstall Parlavox\nSure? [y/N] \n");
}

TEST_F(TerminalSetupViewTest, YesAnswersWithoutReadingAndProgressComesInTenths) {
  TerminalSetupView view(/*assume_yes=*/true, in_, out_);
  EXPECT_TRUE(view.Confirm("Uninstall Parlavox", "Sure?"));
  for (const int percent : {0, 4, 9, 10, 15, 57, 100, 100}) view.SetProgress(percent);
  EXPECT_EQ(Shown(), "Uninstall Parlavox\nSure? yes (--yes)\n  0%\n  10%\n  57%\n  100%\n");
}

TEST_F(TerminalSetupViewTest, CtrlCCancelsWhileTheViewLives) {
  struct sigaction before {};
  sigaction(SIGINT, nullptr, &before);
  {
    TerminalSetupView view(/*assume_yes=*/true, in_, out_);
    EXPECT_FALSE(view.Cancelled());
    raise(SIGINT);
    EXPECT_TRUE(view.Cancelled());
  }
  struct sigaction after {};
  sigaction(SIGINT, nullptr, &after);
  EXPECT_EQ(after.sa_handler, before.sa_handler);
}

}  // namespace
}  // namespace parlavox
