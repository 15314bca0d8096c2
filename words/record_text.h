#ifndef PARLAVOX_WORDS_RECORD_TEXT_H_
#define PARLAVOX_WORDS_RECORD_TEXT_H_

#include <string>
#include <string_view>

namespace parlavox {

// The texts in a user record (name and e-mail) are bytes that Windows copies write in
// the office's ANSI code page, taken to be Windows-1252, and that this program writes
// so that those copies can read them.

// The record's bytes as UTF-8: bytes that are valid UTF-8 are taken as such (plain
// ASCII reads the same either way); anything else is Windows-1252.
std::string RecordTextToUtf8(std::string_view bytes);

// UTF-8 text as record bytes, at most `limit` of them: Windows-1252 when every
// character has a place there, else UTF-8, cut without splitting a character.
std::string Utf8ToRecordText(std::string_view text, size_t limit);

}  // namespace parlavox

#endif  // PARLAVOX_WORDS_RECORD_TEXT_H_
