#ifndef PARLAVOX_SETTINGS_SETTINGS_FILE_H_
#define PARLAVOX_SETTINGS_SETTINGS_FILE_H_

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>

#include "settings/folder_store.h"
#include "settings/profile_file.h"
#include "settings/settings_schema.h"
#include "words/decibels.h"

namespace parlavox {

// Sections of settings.ini.

// The key of a numbered list entry: prefix, zero-based index and suffix ("folder3").
std::string ListKey(std::string_view prefix, int index, std::string_view suffix = "");

// Converts text to a number the way C's atol does: leading blanks, one optional
// sign, digits up to the first non-digit; no digits is 0. Saturates at the 32-bit
// limits.
int32_t ParseInteger(std::string_view text);

// The program's settings: where settings.ini and the inward folder are, and typed
// reads and writes of settings.ini. Every call goes through the profile file, so what
// one thread or process writes is seen by the next read anywhere. Reads of a missing
// file, section or key give the caller's default; failed writes are ignored.
//
// The paths are set once by LocateFolders and changed only by SetInwardFolder; the
// typed operations may be called from any thread.
class SettingsFile {
 public:
  // Finds the data folder (the machine-wide "DataFiles", else `program_folder`),
  // settings.ini in it, and the inward folder: the per-user "Incoming"
  // (current-user-only), else the machine-wide one, else `program_folder`/Incoming.
  void LocateFolders(const FolderStore& folders, const std::string& program_folder);

  // Makes `path`, without trailing separators, the inward folder and records it in
  // the per-user store (current-user-only) or in the machine-wide store, in which
  // case the per-user value is deleted so that the machine-wide one applies.
  void SetInwardFolder(FolderStore& folders, std::string_view path, bool current_user_only);

  const std::string& settings_path() const { return settings_path_; }
  const std::string& data_folder() const { return data_folder_; }
  const std::string& inward_folder() const { return inward_folder_; }
  bool current_user_only() const { return current_user_only_; }

  // Text values are cut at `limit` characters.
  std::string ReadText(std::string_view section, std::string_view key,
                       std::string_view fallback = "", size_t limit = kMaxProfileValue) const;
  // The text, or nullopt when the key (or section, or file) is missing.
  std::optional<std::string> FindText(std::string_view section, std::string_view key) const;
  void WriteText(std::string_view section, std::string_view key, std::string_view value);
  void DeleteKey(std::string_view section, std::string_view key);

  // Integers are decimal text; a present but non-numeric value reads as 0.
  int32_t ReadInt(std::string_view section, std::string_view key, int32_t fallback) const;
  void WriteInt(std::string_view section, std::string_view key, int32_t value);

  // Booleans are "true" and "false"; only "true" in any letter case reads as true.
  bool ReadBool(std::string_view section, std::string_view key, bool fallback) const;
  void WriteBool(std::string_view section, std::string_view key, bool value);

  Decibels ReadDecibels(std::string_view section, std::string_view key, Decibels fallback) const;
  void WriteDecibels(std::string_view section, std::string_view key, int level);

  // Numbered lists keep their length under "<prefix>count", read as 0 to
  // kMaxListCount whatever the file says.
  static constexpr int32_t kMaxListCount = 4096;
  int32_t ReadCount(std::string_view section, std::string_view prefix) const;
  void WriteCount(std::string_view section, std::string_view prefix, int32_t count);
  // Moves one entry's text to another index; a missing source leaves an empty entry.
  void MoveEntry(std::string_view section, std::string_view prefix, std::string_view suffix,
                 int from, int to);
  // Removes entry `index` of a list whose count is "<count_prefix>count" and whose
  // entries are the key families `prefixes`: later entries move down one place.
  void RemoveListEntry(std::string_view section, std::string_view count_prefix,
                       std::initializer_list<std::string_view> prefixes, int index);

 private:
  std::string settings_path_;
  std::string data_folder_;
  std::string inward_folder_;
  bool current_user_only_ = false;
};

}  // namespace parlavox

#endif  // PARLAVOX_SETTINGS_SETTINGS_FILE_H_
