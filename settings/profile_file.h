#ifndef PARLAVOX_SETTINGS_PROFILE_FILE_H_
#define PARLAVOX_SETTINGS_PROFILE_FILE_H_

#include <optional>
#include <string>
#include <string_view>

namespace parlavox {

// Plain reads and writes of one value in a profile file ("[section]" lines followed
// by "key=value" lines), with the semantics other Windows-style programs expect:
// sections and keys match without regard to ASCII case, the first matching section
// and the first matching key win, blanks around names and values are ignored, and
// anything else in the file (comments, stray lines, binary bytes) is kept as it is.
// A parsed copy of each file is reused while the file stays the same version (its
// identity, size and time stamps) and this process has written nothing since, so a
// read sees every write made before it, in any thread or process.

// Longest value a read hands back; longer values are cut.
inline constexpr size_t kMaxProfileValue = 258;

// The value of `key` in `section`, or nullopt when the file, the section or the key
// is missing. The result is at most `limit` characters.
std::optional<std::string> FindProfileString(const std::string& path, std::string_view section,
                                             std::string_view key, size_t limit = kMaxProfileValue);

// The value of `key` in `section`, or `fallback` when the file, the section or the
// key is missing. The result is at most `limit` characters.
std::string ReadProfileString(const std::string& path, std::string_view section,
                              std::string_view key, std::string_view fallback,
                              size_t limit = kMaxProfileValue);

// Sets `key` in `section` to `value`, creating file, section and key as needed, or
// deletes the key when `value` is nullopt. Line breaks in a value become blanks.
// The whole file is replaced atomically under a lock, so no reader ever sees half
// a file and writers from several threads or processes never lose each other's
// changes. A write that changes nothing leaves the file alone. Returns false when
// the file could not be written.
bool WriteProfileString(const std::string& path, std::string_view section, std::string_view key,
                        std::optional<std::string_view> value);

}  // namespace parlavox

#endif  // PARLAVOX_SETTINGS_PROFILE_FILE_H_
