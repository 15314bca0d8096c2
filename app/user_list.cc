#include "app/user_list.h"

#include <algorithm>

namespace parlavox {

void UserList::Refill(const SettingsFile& settings) {
  const int remembered = std::max(selected_, 0);
  items_.clear();
  const int32_t count = settings.ReadCount(kUsersSection, "folder");
  std::vector<int32_t> earlier_ids;  // as the duplicate test reads them: default 1
  for (int i = 0; i < count; ++i) {
    const std::string id_key = ListKey("id", i);
    const int32_t id = settings.ReadInt(kUsersSection, id_key, 0);
    const bool duplicate = std::ranges::find(earlier_ids, id) != earlier_ids.end();
    earlier_ids.push_back(settings.ReadInt(kUsersSection, id_key, 1));
    if (duplicate) continue;
    items_.push_back({settings.ReadText(kUsersSection, ListKey("name", i), "Pending Connection"),
                      settings.ReadBool(kUsersSection, ListKey("on", i), false), id, i});
  }
  Select(remembered);
}

void UserList::Select(int position) {
  selected_ = position >= 0 && position < static_cast<int>(items_.size()) ? position : -1;
}

}  // namespace parlavox
