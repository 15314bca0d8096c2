#include "util/terminal_text.h"

#include <gtest/gtest.h>

namespace parlavox {
namespace {

TEST(TerminalTextTest, ControlsAreEscapedAndEverythingElseStays) {
  EXPECT_EQ(TerminalText("Ann \x1b]0;owned\x07\x1b[2J"), "Ann \\x1b]0;owned\\x07\\x1b[2J");
  EXPECT_EQ(TerminalText("a\r\nb\x7f"), "a\\x0d\\x0ab\\x7f");
  EXPECT_EQ(TerminalText("csi \xc2\x9b"
                         "2J"),
            "csi \\xc2\\x9b2J");  // C1 as UTF-8
  EXPECT_EQ(TerminalText("Zoë Müller, ß €"), "Zoë Müller, ß €");
  EXPECT_EQ(TerminalText("\xc2"), "\xc2");  // a cut sequence is no control
}

}  // namespace
}  // namespace parlavox
