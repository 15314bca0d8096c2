#include "words/record_text.h"

#include <iconv.h>

#include <cerrno>
#include <optional>

namespace parlavox {
namespace {

// Converts with iconv; nullopt when a character has no place in `to`, unless
// `replacement` stands in for what can't be converted.
std::optional<std::string> Convert(std::string_view text, const char* to, const char* from,
                                   std::string_view replacement = {}) {
  const iconv_t converter = iconv_open(to, from);
  if (converter == reinterpret_cast<iconv_t>(-1)) return std::nullopt;
  std::string result;
  char* in = const_cast<char*>(text.data());
  size_t in_left = text.size();
  char buffer[256];
  while (in_left > 0) {
    char* out = buffer;
    size_t out_left = sizeof buffer;
    const size_t done = iconv(converter, &in, &in_left, &out, &out_left);
    result.append(buffer, static_cast<size_t>(out - buffer));
    if (done != static_cast<size_t>(-1) || errno == E2BIG) continue;
    if (replacement.empty()) {
      iconv_close(converter);
      return std::nullopt;
    }
    result += replacement;  // a byte the code page leaves undefined
    ++in;
    --in_left;
  }
  iconv_close(converter);
  return result;
}

bool IsUtf8(std::string_view bytes) { return Convert(bytes, "UTF-8", "UTF-8").has_value(); }

}  // namespace

std::string RecordTextToUtf8(std::string_view bytes) {
  if (IsUtf8(bytes)) return std::string(bytes);
  return Convert(bytes, "UTF-8", "WINDOWS-1252", "\xEF\xBF\xBD").value_or("");
}

std::string Utf8ToRecordText(std::string_view text, size_t limit) {
  if (std::optional<std::string> ansi = Convert(text, "WINDOWS-1252", "UTF-8")) {
    return ansi->substr(0, limit);
  }
  size_t length = std::min(text.size(), limit);
  // Back off to the start of a UTF-8 character when the cut falls inside one.
  if (length < text.size()) {
    while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
  }
  return std::string(text.substr(0, length));
}

}  // namespace parlavox
