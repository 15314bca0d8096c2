#ifndef PARLAVOX_CORE_USER_LIST_H_
#define PARLAVOX_CORE_USER_LIST_H_

#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "settings/users_cache.h"

namespace parlavox {

// One line of the users list.
struct UserListItem {
  std::string name;  // "Pending Connection" until the user's record was read
  bool on = false;
  bool reached = true;  // false while the user's folder can't be read (shown off)
  int32_t id = 0;
  int user_index = 0;  // the user's place in the "users" section

  bool operator==(const UserListItem&) const = default;
};

// The users list as the window shows it, built from the users cache. A user is
// left out when an earlier user has the same id; the earlier ids are read with
// default 1 and the candidate's with default 0, so two missing ids never collide.
// Calls address users by their position in this list, not by user_index.
class UserList {
 public:
  // Rebuilds the items and selects the item at the previously selected position
  // again (the first item when none was selected; none when the list is shorter).
  // The users at the places `unreached` are marked so.
  void Refill(const UsersCache& users, const std::set<int>& unreached = {});

  const std::vector<UserListItem>& items() const { return items_; }
  int selected() const { return selected_; }  // -1: nothing selected
  void Select(int position);

 private:
  std::vector<UserListItem> items_;
  int selected_ = -1;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_USER_LIST_H_
