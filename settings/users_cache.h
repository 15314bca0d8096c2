#ifndef PARLAVOX_SETTINGS_USERS_CACHE_H_
#define PARLAVOX_SETTINGS_USERS_CACHE_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "settings/settings_file.h"

namespace parlavox {

// The "users" section of settings.ini, and the one place that knows its keys: the
// other users' inward folders ("foldercount", "folder%d"), which the person enters,
// and what the presence poller last read from each user's record ("name%d", "on%d",
// "id%d"). Users are addressed by their place in that list, from 0. Every call goes
// through the profile file (which reuses its parsed copy while the file is unchanged),
// so any thread may use it and sees what any other wrote.
class UsersCache {
 public:
  // What readers that display a name show until the user's record has been read.
  static constexpr std::string_view kPendingName = "Pending Connection";

  explicit UsersCache(SettingsFile& settings) : settings_(settings) {}

  int Count() const;
  // The user's inward folder, at most 259 characters; empty when missing.
  std::string Folder(int index) const;

  // The last name read from the user's record; nullopt until one was read.
  std::optional<std::string> Name(int index) const;
  // The name, or kPendingName until one was read.
  std::string DisplayName(int index) const;
  bool IsOn(int index) const;
  // The user's id, or `fallback` until one was read. Where two ids are compared, one
  // is read with fallback 0 and the other with 1, so that two missing ids never match.
  int32_t Id(int index, int32_t fallback) const;
  // The first user whose id is `id` (missing ids read as 1); nullopt when there is none.
  std::optional<int> FindById(int32_t id) const;

  // What the presence poller copies from a record.
  void SetName(int index, std::string_view name);
  void SetOn(int index, bool on);
  void SetId(int index, int32_t id);

  // The person's own list of folders. Removing moves only the later folders down one
  // place: the cached names, states and ids keep their places until the next poll.
  void AddFolder(std::string_view folder);
  void ChangeFolder(int index, std::string_view folder);
  void RemoveFolder(int index);

 private:
  SettingsFile& settings_;
};

}  // namespace parlavox

#endif  // PARLAVOX_SETTINGS_USERS_CACHE_H_
