#include "settings/users_cache.h"

#include "util/paths.h"

namespace parlavox {
namespace {

using users_key::kFolder;
using users_key::kId;
using users_key::kName;
using users_key::kOn;

}  // namespace

int UsersCache::Count() const { return settings_.ReadCount(kUsersSection, kFolder); }

std::string UsersCache::Folder(int index) const {
  return settings_.ReadText(kUsersSection, ListKey(kFolder, index), "", kMaxPath);
}

std::optional<std::string> UsersCache::Name(int index) const {
  return settings_.FindText(kUsersSection, ListKey(kName, index));
}

std::string UsersCache::DisplayName(int index) const {
  return settings_.ReadText(kUsersSection, ListKey(kName, index), kPendingName);
}

bool UsersCache::IsOn(int index) const {
  return settings_.ReadBool(kUsersSection, ListKey(kOn, index), false);
}

int32_t UsersCache::Id(int index, int32_t fallback) const {
  return settings_.ReadInt(kUsersSection, ListKey(kId, index), fallback);
}

std::optional<int> UsersCache::FindById(int32_t id) const {
  const int count = Count();
  for (int i = 0; i < count; ++i) {
    if (Id(i, 1) == id) return i;
  }
  return std::nullopt;
}

void UsersCache::SetName(int index, std::string_view name) {
  settings_.WriteText(kUsersSection, ListKey(kName, index), name);
}

void UsersCache::SetOn(int index, bool on) {
  settings_.WriteBool(kUsersSection, ListKey(kOn, index), on);
}

void UsersCache::SetId(int index, int32_t id) {
  settings_.WriteInt(kUsersSection, ListKey(kId, index), id);
}

void UsersCache::AddFolder(std::string_view folder) {
  const int index = Count();
  settings_.WriteText(kUsersSection, ListKey(kFolder, index), folder);
  settings_.WriteCount(kUsersSection, kFolder, index + 1);
}

void UsersCache::ChangeFolder(int index, std::string_view folder) {
  settings_.WriteText(kUsersSection, ListKey(kFolder, index), folder);
}

void UsersCache::RemoveFolder(int index) {
  if (index < 0 || Count() < 1) return;
  settings_.RemoveListEntry(kUsersSection, kFolder, {kFolder}, index);
}

}  // namespace parlavox
