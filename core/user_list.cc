#include "core/user_list.h"

#include <algorithm>

namespace parlavox {

void UserList::Refill(const UsersCache& users, const std::set<int>& unreached) {
  const int remembered = std::max(selected_, 0);
  items_.clear();
  const int count = users.Count();
  std::vector<int32_t> earlier_ids;  // as the duplicate test reads them: default 1
  for (int i = 0; i < count; ++i) {
    const int32_t id = users.Id(i, 0);
    const bool duplicate = std::ranges::find(earlier_ids, id) != earlier_ids.end();
    earlier_ids.push_back(users.Id(i, 1));
    if (duplicate) continue;
    items_.push_back({.name = users.DisplayName(i),
                      .on = users.IsOn(i),
                      .reached = !unreached.contains(i),
                      .id = id,
                      .user_index = i});
  }
  Select(remembered);
}

void UserList::Select(int position) {
  selected_ = position >= 0 && position < static_cast<int>(items_.size()) ? position : -1;
}

}  // namespace parlavox
