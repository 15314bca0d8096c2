#ifndef PARLAVOX_PLATFORM_SHORTCUTS_PORTAL_H_
#define PARLAVOX_PLATFORM_SHORTCUTS_PORTAL_H_

#include <functional>
#include <string>
#include <vector>

namespace parlavox {

// A shortcut as a program asks the desktop for it: the desktop shows the description
// and may bind other keys than the preferred trigger ("CTRL+ALT+F9").
struct PortalShortcut {
  std::string id;
  std::string description;
  std::string preferred_trigger;

  bool operator==(const PortalShortcut&) const = default;
};

// What the desktop bound under an id, in its own words ("Ctrl+Alt+F9").
struct BoundShortcut {
  std::string id;
  std::string trigger;
};

// The desktop's global shortcuts, as a Wayland desktop's portal offers them: one
// session for the program's life, in which the program binds its list of shortcuts
// (again when the list changes) and hears when one is pressed and released. Every
// event arrives on the owner's thread.
class ShortcutsPortal {
 public:
  struct Events {
    std::function<void(const std::vector<BoundShortcut>&)> bound;
    std::function<void(const std::string& id)> activated;
    std::function<void(const std::string& id)> deactivated;
    // The portal refused, vanished or did not answer; nothing more comes after this.
    std::function<void(const std::string& reason)> failed;
  };

  virtual ~ShortcutsPortal() = default;
  virtual void SetEvents(Events events) = 0;
  // Opens the session; a list bound before it is open is bound once it is.
  virtual void Open() = 0;
  // Binds `shortcuts` in place of what was bound before.
  virtual void Bind(const std::vector<PortalShortcut>& shortcuts) = 0;
  virtual void Close() = 0;
};

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_SHORTCUTS_PORTAL_H_
