#ifndef PARLAVOX_PLATFORM_PORTAL_HOT_KEYS_H_
#define PARLAVOX_PLATFORM_PORTAL_HOT_KEYS_H_

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/hot_keys.h"
#include "platform/shortcuts_portal.h"
#include "util/clock.h"

namespace parlavox {

// Hot keys through a desktop's global-shortcuts portal (Wayland). The keys registered
// in one pass of the event loop are bound together, each under "key<id>" with its
// description, asking for its own keys as the preferred trigger; the desktop has the
// last word on which keys it binds. A shortcut the desktop reports pressed fires at
// once and then every 100 ms until it is released, as a held key repeats on X11. When
// the portal fails, `unavailable` hears why, once, and the keys stay silent after.
class PortalHotKeys : public HotKeySystem {
 public:
  static constexpr std::chrono::milliseconds kRepeat{100};

  // Opens the portal's session, which lasts until this ends.
  PortalHotKeys(ShortcutsPortal& portal, Clock& clock,
                std::function<void(const std::string& reason)> unavailable);
  ~PortalHotKeys() override;
  PortalHotKeys(const PortalHotKeys&) = delete;
  PortalHotKeys& operator=(const PortalHotKeys&) = delete;

  // Always true while the portal works: whether the desktop binds the keys is its
  // own affair, told later.
  bool Register(int id, uint32_t modifiers, uint32_t virtual_key,
                const std::string& description) override;
  void Unregister(int id) override;
  void SetListener(Fired fired) override { fired_ = std::move(fired); }
  std::string DesktopBinding(int id) const override;

 private:
  struct Wanted {
    uint32_t virtual_key;
    PortalShortcut shortcut;
  };

  void BindWanted();
  void Activated(const std::string& shortcut_id);
  void Deactivated(const std::string& shortcut_id);
  void Repeat();
  void Failed(const std::string& reason);
  void Fire(int id);

  ShortcutsPortal& portal_;
  std::function<void(const std::string&)> unavailable_;
  std::map<int, Wanted> wanted_;
  std::vector<PortalShortcut> last_bound_;
  std::map<std::string, std::string> desktop_bindings_;  // shortcut id -> trigger
  std::optional<int> held_;
  bool failed_ = false;
  Fired fired_;
  std::unique_ptr<Timer> bind_timer_;
  std::unique_ptr<Timer> repeat_timer_;
};

// The trigger a shortcut asks for, in the notation of the desktop's shortcuts
// ("CTRL+ALT+F9", "SHIFT+a"); "" for a key without a name here.
std::string PreferredTrigger(uint32_t modifiers, uint32_t virtual_key);

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_PORTAL_HOT_KEYS_H_
