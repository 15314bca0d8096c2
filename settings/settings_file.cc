#include "settings/settings_file.h"

#include <strings.h>

#include <algorithm>
#include <limits>

#include "settings/profile_file.h"
#include "util/paths.h"

namespace parlavox {
namespace {

constexpr std::string_view kIncoming = "Incoming";
constexpr std::string_view kDataFiles = "DataFiles";

std::string Truncated(std::string text) {
  if (text.size() > kMaxPath) text.resize(kMaxPath);
  return text;
}

std::string CountKey(std::string_view prefix) { return std::string(prefix) + "count"; }

}  // namespace

std::string ListKey(std::string_view prefix, int index, std::string_view suffix) {
  return std::string(prefix) + std::to_string(index) + std::string(suffix);
}

int32_t ParseInteger(std::string_view text) {
  size_t at = 0;
  while (at < text.size() && (text[at] == ' ' || (text[at] >= '\t' && text[at] <= '\r'))) ++at;
  bool negative = false;
  if (at < text.size() && (text[at] == '+' || text[at] == '-')) negative = text[at++] == '-';
  constexpr int64_t kLimit = int64_t{std::numeric_limits<int32_t>::max()} + 1;
  int64_t value = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
    value = std::min(value * 10 + (text[at] - '0'), kLimit);
  }
  if (negative) value = -value;
  return static_cast<int32_t>(std::clamp<int64_t>(value, std::numeric_limits<int32_t>::min(),
                                                  std::numeric_limits<int32_t>::max()));
}

void SettingsFile::LocateFolders(const FolderStore& folders, const std::string& program_folder) {
  const std::optional<std::string> data = folders.Read(FolderScope::kMachine, kDataFiles);
  data_folder_ = JoinPath(data.value_or(program_folder), "");
  settings_path_ = JoinPath(data_folder_, "settings.ini");

  if (auto own = folders.Read(FolderScope::kCurrentUser, kIncoming)) {
    inward_folder_ = *own;
    current_user_only_ = true;
  } else if (auto shared = folders.Read(FolderScope::kMachine, kIncoming)) {
    inward_folder_ = *shared;
    current_user_only_ = false;
  } else {
    inward_folder_ = JoinPath(program_folder, kIncoming);
    current_user_only_ = false;
  }
}

void SettingsFile::SetInwardFolder(FolderStore& folders, std::string_view path,
                                   bool current_user_only) {
  inward_folder_ = Truncated(StripTrailingSeparators(path));
  if (current_user_only) {
    folders.Write(FolderScope::kCurrentUser, kIncoming, inward_folder_);
  } else {
    folders.Delete(FolderScope::kCurrentUser, kIncoming);
    folders.Write(FolderScope::kMachine, kIncoming, inward_folder_);
  }
  current_user_only_ = current_user_only;
}

std::string SettingsFile::ReadText(std::string_view section, std::string_view key,
                                   std::string_view fallback, size_t limit) const {
  return ReadProfileString(settings_path_, section, key, fallback, limit);
}

std::optional<std::string> SettingsFile::FindText(std::string_view section,
                                                  std::string_view key) const {
  return FindProfileString(settings_path_, section, key);
}

void SettingsFile::WriteText(std::string_view section, std::string_view key,
                             std::string_view value) {
  WriteProfileString(settings_path_, section, key, value);
}

void SettingsFile::DeleteKey(std::string_view section, std::string_view key) {
  WriteProfileString(settings_path_, section, key, std::nullopt);
}

int32_t SettingsFile::ReadInt(std::string_view section, std::string_view key,
                              int32_t fallback) const {
  return ParseInteger(ReadText(section, key, std::to_string(fallback)));
}

void SettingsFile::WriteInt(std::string_view section, std::string_view key, int32_t value) {
  WriteText(section, key, std::to_string(value));
}

bool SettingsFile::ReadBool(std::string_view section, std::string_view key, bool fallback) const {
  return strcasecmp(ReadText(section, key, fallback ? "true" : "").c_str(), "true") == 0;
}

void SettingsFile::WriteBool(std::string_view section, std::string_view key, bool value) {
  WriteText(section, key, value ? "true" : "false");
}

Decibels SettingsFile::ReadDecibels(std::string_view section, std::string_view key,
                                    Decibels fallback) const {
  return ParseDecibels(ReadText(section, key, FormatDecibels(fallback)));
}

void SettingsFile::WriteDecibels(std::string_view section, std::string_view key, int level) {
  WriteText(section, key, FormatDecibels(level));
}

int32_t SettingsFile::ReadCount(std::string_view section, std::string_view prefix) const {
  return std::clamp(ReadInt(section, CountKey(prefix), 0), 0, kMaxListCount);
}

void SettingsFile::WriteCount(std::string_view section, std::string_view prefix, int32_t count) {
  WriteInt(section, CountKey(prefix), count);
}

void SettingsFile::MoveEntry(std::string_view section, std::string_view prefix,
                             std::string_view suffix, int from, int to) {
  const std::string from_key = ListKey(prefix, from, suffix);
  const std::string text = ReadText(section, from_key);
  DeleteKey(section, from_key);
  WriteText(section, ListKey(prefix, to, suffix), text);
}

void SettingsFile::RemoveListEntry(std::string_view section, std::string_view count_prefix,
                                   std::initializer_list<std::string_view> prefixes, int index) {
  const int32_t count = ReadCount(section, count_prefix);
  for (int i = index; i <= count - 2; ++i) {
    for (const std::string_view prefix : prefixes) MoveEntry(section, prefix, "", i + 1, i);
  }
  WriteCount(section, count_prefix, count - 1);
}

}  // namespace parlavox
