#ifndef PARLAVOX_CORE_HOT_KEY_BINDER_H_
#define PARLAVOX_CORE_HOT_KEY_BINDER_H_

#include "core/hot_keys.h"
#include "core/intercom.h"
#include "settings/key_assignments.h"

namespace parlavox {

// Binds the assignments of the "keys" section as system-wide hot keys, each under its
// place in the list, and carries out the command of a hot key that fires.
class HotKeyBinder {
 public:
  HotKeyBinder(HotKeySystem& system, const KeyAssignments& keys, Intercom& intercom);

  // Binds every assignment; one that can't be bound (another program holds it) is
  // skipped silently. Returns how many were bound.
  int Register();
  // Lets go of what the last Register bound, so that a changed list can be bound anew.
  void Unregister();

 private:
  HotKeySystem& system_;
  const KeyAssignments& keys_;
  Intercom& intercom_;
  int registered_ = 0;  // the assignments the last Register went through
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_HOT_KEY_BINDER_H_
