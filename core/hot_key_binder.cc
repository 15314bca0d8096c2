#include "core/hot_key_binder.h"

namespace parlavox {

HotKeyBinder::HotKeyBinder(HotKeySystem& system, const KeyAssignments& keys, Intercom& intercom)
    : system_(system), keys_(keys), intercom_(intercom) {
  system_.SetListener([this](int id, uint32_t) { intercom_.HotKey(keys_.Command(id)); });
}

int HotKeyBinder::Register() {
  registered_ = keys_.Count();
  int bound = 0;
  for (int i = 0; i < registered_; ++i) {
    const std::string description = keys_.CommandText(keys_.Command(i));
    if (system_.Register(i, keys_.Modifiers(i), keys_.Key(i), description)) ++bound;
  }
  return bound;
}

void HotKeyBinder::Unregister() {
  for (int i = 0; i < registered_; ++i) system_.Unregister(i);
  registered_ = 0;
}

}  // namespace parlavox
