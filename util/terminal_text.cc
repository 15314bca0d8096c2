#include "util/terminal_text.h"

#include <cstdio>

namespace parlavox {
namespace {

void AppendEscaped(std::string& out, unsigned char byte) {
  char escaped[5];
  std::snprintf(escaped, sizeof escaped, "\\x%02x", byte);
  out += escaped;
}

}  // namespace

std::string TerminalText(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < 0x20 || byte == 0x7f) {
      AppendEscaped(out, byte);
    } else if (byte == 0xc2 && i + 1 < text.size() &&
               static_cast<unsigned char>(text[i + 1]) >= 0x80 &&
               static_cast<unsigned char>(text[i + 1]) <= 0x9f) {
      AppendEscaped(out, byte);
      AppendEscaped(out, static_cast<unsigned char>(text[++i]));
    } else {
      out += text[i];
    }
  }
  return out;
}

}  // namespace parlavox
