#include "app/profile_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <strings.h>
#include <algorithm>

#include "app/atomic_file.h"

namespace parlavox {
namespace {

std::string_view Trim(std::string_view text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  return text;
}

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// One line of the file, as a view into the file's text. `end` is just past the
// line's newline (or the end of the text).
struct Line {
  size_t begin;
  size_t end;
  std::string_view text;  // without the newline
};

// Walks the lines of a profile text and tells them apart.
class LineWalker {
 public:
  explicit LineWalker(std::string_view text) : text_(text) {}

  bool Next(Line* line) {
    if (position_ >= text_.size()) return false;
    const size_t newline = text_.find('\n', position_);
    const size_t stop = newline == std::string_view::npos ? text_.size() : newline;
    *line = {position_, newline == std::string_view::npos ? stop : stop + 1,
             text_.substr(position_, stop - position_)};
    position_ = line->end;
    return true;
  }

 private:
  std::string_view text_;
  size_t position_ = 0;
};

// The section a "[name]" line opens, or nullopt for any other line.
std::optional<std::string_view> SectionName(std::string_view line) {
  line = Trim(line);
  if (line.empty() || line.front() != '[') return std::nullopt;
  line.remove_prefix(1);
  return Trim(line.substr(0, line.find(']')));
}

// The key of a "key=value" line, or nullopt for a line that holds no key.
std::optional<std::string_view> KeyName(std::string_view line) {
  const size_t equals = line.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  const std::string_view key = Trim(line.substr(0, equals));
  if (!key.empty() && key.front() == ';') return std::nullopt;  // a comment
  return key;
}

std::string_view ValueOf(std::string_view line) { return Trim(line.substr(line.find('=') + 1)); }

// Where a key stands in the text: the line of the first matching section's first
// matching key, and the end of that section's last non-blank line (where a new key
// goes). `section_found` is false when no section matches.
struct Position {
  bool section_found = false;
  std::optional<Line> key_line;
  size_t section_content_end = 0;
};

Position Locate(std::string_view text, std::string_view section, std::string_view key) {
  Position position;
  LineWalker walker(text);
  Line line;
  bool inside = false;
  while (walker.Next(&line)) {
    if (const auto name = SectionName(line.text)) {
      if (inside) break;  // the first matching section has ended
      inside = SameName(*name, section);
      if (inside) {
        position.section_found = true;
        position.section_content_end = line.end;
      }
      continue;
    }
    if (!inside) continue;
    if (!Trim(line.text).empty()) position.section_content_end = line.end;
    const auto line_key = KeyName(line.text);
    if (line_key && !position.key_line && SameName(*line_key, key)) position.key_line = line;
  }
  return position;
}

// The text after setting or deleting the key.
std::string Edited(std::string_view text, std::string_view section, std::string_view key,
                   std::optional<std::string_view> value) {
  const Position position = Locate(text, section, key);
  std::string result(text);
  if (!value) {
    if (position.key_line) {
      result.erase(position.key_line->begin, position.key_line->end - position.key_line->begin);
    }
    return result;
  }
  std::string value_text(*value);
  std::replace(value_text.begin(), value_text.end(), '\n', ' ');
  std::replace(value_text.begin(), value_text.end(), '\r', ' ');

  if (position.key_line) {
    const Line& line = *position.key_line;
    const size_t equals = line.begin + line.text.find('=');
    const size_t value_end = line.begin + line.text.size() - (line.text.ends_with('\r') ? 1 : 0);
    if (ValueOf(line.text) == value_text) return result;
    result.replace(equals + 1, value_end - equals - 1, value_text);
    return result;
  }
  const std::string entry = std::string(key) + "=" + value_text + "\n";
  if (position.section_found) {
    size_t at = position.section_content_end;
    if (at > 0 && result[at - 1] != '\n') {
      result.insert(at, "\n");
      ++at;
    }
    result.insert(at, entry);
    return result;
  }
  if (!result.empty() && result.back() != '\n') result += '\n';
  result += "[" + std::string(section) + "]\n" + entry;
  return result;
}

}  // namespace

std::optional<std::string> FindProfileString(const std::string& path, std::string_view section,
                                             std::string_view key, size_t limit) {
  const std::optional<std::string> text = ReadWholeFile(path);
  if (!text) return std::nullopt;
  const Position position = Locate(*text, section, key);
  if (!position.key_line) return std::nullopt;
  return std::string(ValueOf(position.key_line->text).substr(0, limit));
}

std::string ReadProfileString(const std::string& path, std::string_view section,
                              std::string_view key, std::string_view fallback, size_t limit) {
  return FindProfileString(path, section, key, limit)
      .value_or(std::string(fallback.substr(0, limit)));
}

bool WriteProfileString(const std::string& path, std::string_view section, std::string_view key,
                        std::optional<std::string_view> value) {
  FileLock lock(path);
  std::optional<std::string> text = ReadWholeFile(path);
  if (!text) {
    if (access(path.c_str(), F_OK) == 0) return false;  // there, but unreadable: keep it
    text.emplace();
  }
  const std::string edited = Edited(*text, section, key, value);
  if (edited == *text) return true;
  return ReplaceFile(path, edited);
}

void FlushProfileFile(const std::string& path) {
  const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return;
  fsync(fd);
  close(fd);
}

}  // namespace parlavox
