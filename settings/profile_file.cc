#include "settings/profile_file.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <unordered_map>

#include "util/atomic_file.h"
#include "util/file_lock.h"
#include "util/mutex.h"

namespace parlavox {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string_view Trim(std::string_view text) {
  const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '\r'; };
  while (!text.empty() && blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && blank(text.back())) text.remove_suffix(1);
  return text;
}

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

std::string Lowered(std::string_view name) {
  std::string lowered(name);
  for (char& c : lowered) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lowered;
}

// One line of the file, as a view into the file's text. `end` is just past the
// line's newline (or the end of the text).
struct Line {
  size_t begin;
  size_t end;
  std::string_view text;  // without the newline
};

// Walks the lines of a profile text, past a UTF-8 byte-order mark at its start.
class LineWalker {
 public:
  explicit LineWalker(std::string_view text)
      : text_(text), position_(text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0) {}

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
  size_t position_;
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

// The value of a "key=value" line; a value within matching quotation marks is read
// without them.
std::string_view ValueOf(std::string_view line) {
  std::string_view value = Trim(line.substr(line.find('=') + 1));
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  return value;
}

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

// The text after setting or deleting the key. New lines end as the file's first line
// does, with "\r\n" or "\n".
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
  const size_t first_newline = text.find('\n');
  const std::string newline = first_newline != std::string_view::npos && first_newline > 0 &&
                                      text[first_newline - 1] == '\r'
                                  ? "\r\n"
                                  : "\n";
  const std::string entry = std::string(key) + "=" + value_text + newline;
  if (position.section_found) {
    size_t at = position.section_content_end;
    if (at > 0 && result[at - 1] != '\n') {
      result.insert(at, newline);
      at += newline.size();
    }
    result.insert(at, entry);
    return result;
  }
  if (!result.empty() && result.back() != '\n') result += newline;
  result += "[" + std::string(section) + "]" + newline + entry;
  return result;
}

// What tells one version of a file from another: every write replaces the file, so a
// new version is a new inode, and mostly a new size or time stamp too.
struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  int64_t modified_ns = 0;
  int64_t changed_ns = 0;

  bool operator==(const FileIdentity&) const = default;
};

FileIdentity IdentityOf(const struct stat& status) {
  return {status.st_dev, status.st_ino, status.st_size,
          int64_t{status.st_mtim.tv_sec} * 1'000'000'000 + status.st_mtim.tv_nsec,
          int64_t{status.st_ctim.tv_sec} * 1'000'000'000 + status.st_ctim.tv_nsec};
}

// A profile file parsed for reading: the first section of each name, and in it the
// first key of each name, both lowered.
struct ParsedProfile {
  FileIdentity identity;
  uint64_t generation = 0;
  std::unordered_map<std::string, std::unordered_map<std::string, std::string>> sections;

  // The whole value of a key; null when the key or its section is missing.
  const std::string* Find(std::string_view section, std::string_view key) const {
    const auto keys = sections.find(Lowered(section));
    if (keys == sections.end()) return nullptr;
    const auto value = keys->second.find(Lowered(key));
    return value == keys->second.end() ? nullptr : &value->second;
  }
};

std::shared_ptr<const ParsedProfile> Parse(std::string_view text, const FileIdentity& identity,
                                           uint64_t generation) {
  auto parsed = std::make_shared<ParsedProfile>();
  parsed->identity = identity;
  parsed->generation = generation;
  std::unordered_map<std::string, std::string>* keys = nullptr;  // null: a section seen before
  LineWalker walker(text);
  Line line;
  while (walker.Next(&line)) {
    if (const auto name = SectionName(line.text)) {
      const auto [section, first] = parsed->sections.try_emplace(Lowered(*name));
      keys = first ? &section->second : nullptr;
      continue;
    }
    if (keys == nullptr) continue;
    if (const auto key = KeyName(line.text)) keys->try_emplace(Lowered(*key), ValueOf(line.text));
  }
  return parsed;
}

// Parsed files, reused while a file stays the same version. Writes made by this
// process count up the generation, so that even a version that looks the same is read
// again after them.
class ProfileCache {
 public:
  static ProfileCache& Instance() {
    static ProfileCache* cache = new ProfileCache;  // never destroyed: threads may read late
    return *cache;
  }

  // The file as it is now; null when it can't be read. With `parse_if_stale` false,
  // a file not parsed as it is now gives null too.
  std::shared_ptr<const ParsedProfile> Get(const std::string& path, bool parse_if_stale = true) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return nullptr;
    const uint64_t generation = generation_.load();
    {
      MutexLock lock(mutex_);
      const auto found = files_.find(path);
      if (found != files_.end() && found->second->identity == IdentityOf(status) &&
          found->second->generation == generation) {
        return found->second;
      }
    }
    if (!parse_if_stale) return nullptr;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (fd < 0) return nullptr;
    const bool known = fstat(fd, &status) == 0 && S_ISREG(status.st_mode);
    const std::optional<std::string> text = known ? ReadWholeDescriptor(fd) : std::nullopt;
    close(fd);
    if (!text || !known) return nullptr;
    std::shared_ptr<const ParsedProfile> parsed = Parse(*text, IdentityOf(status), generation);
    MutexLock lock(mutex_);
    files_[path] = parsed;
    return parsed;
  }

  void CountWrite() { ++generation_; }

 private:
  Mutex mutex_;
  std::map<std::string, std::shared_ptr<const ParsedProfile>> files_ GUARDED_BY(mutex_);
  std::atomic<uint64_t> generation_{0};
};

}  // namespace

std::optional<std::string> FindProfileString(const std::string& path, std::string_view section,
                                             std::string_view key, size_t limit) {
  const std::shared_ptr<const ParsedProfile> parsed = ProfileCache::Instance().Get(path);
  if (!parsed) return std::nullopt;
  const std::string* value = parsed->Find(section, key);
  if (value == nullptr) return std::nullopt;
  return value->substr(0, limit);
}

std::string ReadProfileString(const std::string& path, std::string_view section,
                              std::string_view key, std::string_view fallback, size_t limit) {
  return FindProfileString(path, section, key, limit)
      .value_or(std::string(fallback.substr(0, limit)));
}

bool WriteProfileString(const std::string& path, std::string_view section, std::string_view key,
                        std::optional<std::string_view> value) {
  // Most writes repeat what the file holds already (the presence poller writes every
  // id on every pass): while the parsed copy is current, those need neither the lock
  // nor a read of the whole file.
  if (const auto parsed = ProfileCache::Instance().Get(path, /*parse_if_stale=*/false)) {
    const std::string* now = parsed->Find(section, key);
    if (!value && now == nullptr) return true;
    if (value && now != nullptr && *now == *value && value->find_first_of("\r\n") == value->npos) {
      return true;
    }
  }
  // Writers in every thread and process take turns through a lock file beside it.
  const FileLock lock(path + ".lock", O_RDWR | O_CREAT, FileLock::Kind::kExclusive,
                      FileLock::Wait::kYes);
  std::optional<std::string> text = ReadWholeFile(path);
  if (!text) {
    if (access(path.c_str(), F_OK) == 0) return false;  // there, but unreadable: keep it
    text.emplace();
  }
  const std::string edited = Edited(*text, section, key, value);
  if (edited == *text) return true;
  const bool replaced = ReplaceFile(path, edited);
  ProfileCache::Instance().CountWrite();
  return replaced;
}

}  // namespace parlavox
