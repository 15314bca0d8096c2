#ifndef PARLAVOX_UTIL_LIFETIME_H_
#define PARLAVOX_UTIL_LIFETIME_H_

#include <memory>
#include <utility>

namespace parlavox {

// Ties work handed to the owner's thread to the life of its receiver: a task made by
// Bind does nothing once the Lifetime that made it is destroyed. Bind may be called
// on any thread; the tasks must run on the thread that destroys the receiver, which
// keeps a Lifetime as a member (last, so that it goes first).
class Lifetime {
 public:
  Lifetime() = default;
  Lifetime(const Lifetime&) = delete;
  Lifetime& operator=(const Lifetime&) = delete;

  template <typename Task>
  auto Bind(Task task) const {
    return [alive = std::weak_ptr<const char>(token_),
            task = std::move(task)](auto&&... arguments) mutable {
      if (alive.lock()) task(std::forward<decltype(arguments)>(arguments)...);
    };
  }

 private:
  std::shared_ptr<const char> token_ = std::make_shared<const char>('\0');
};

}  // namespace parlavox

#endif  // PARLAVOX_UTIL_LIFETIME_H_
