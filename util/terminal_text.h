#ifndef PARLAVOX_UTIL_TERMINAL_TEXT_H_
#define PARLAVOX_UTIL_TERMINAL_TEXT_H_

#include <string>
#include <string_view>

namespace parlavox {

// `text` made safe to print on a terminal: control characters (C0, DEL, and the C1
// controls as UTF-8 writes them) become \xNN, so that text from other people's files
// can't move the cursor, retitle the window or hide what was logged. Everything else,
// other UTF-8 included, stays as it is.
std::string TerminalText(std::string_view text);

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_TERMINAL_TEXT_H_
