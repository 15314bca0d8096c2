#include "platform/portal_hot_keys.h"

#include <X11/Xlib.h>

#include <charconv>

#include "platform/x11_key_symbols.h"

namespace parlavox {
namespace {

constexpr std::string_view kIdPrefix = "key";

std::string ShortcutId(int id) { return std::string(kIdPrefix) + std::to_string(id); }

std::optional<int> IdOf(const std::string& shortcut_id) {
  if (shortcut_id.rfind(kIdPrefix, 0) != 0) return std::nullopt;
  const char* digits = shortcut_id.data() + kIdPrefix.size();
  const char* end = shortcut_id.data() + shortcut_id.size();
  int id = 0;
  const auto [stop, error] = std::from_chars(digits, end, id);
  if (error != std::errc() || stop != end || digits == end) return std::nullopt;
  return id;
}

}  // namespace

std::string PreferredTrigger(uint32_t modifiers, uint32_t virtual_key) {
  const std::optional<unsigned long> symbol = KeySymbolOf(virtual_key);
  const char* name = symbol ? XKeysymToString(*symbol) : nullptr;
  if (name == nullptr) return {};
  std::string trigger;
  if (modifiers & 2) trigger += "CTRL+";
  if (modifiers & 1) trigger += "ALT+";
  if (modifiers & 4) trigger += "SHIFT+";
  return trigger + name;
}

PortalHotKeys::PortalHotKeys(ShortcutsPortal& portal, Clock& clock,
                             std::function<void(const std::string& reason)> unavailable)
    : portal_(portal),
      unavailable_(std::move(unavailable)),
      bind_timer_(clock.NewTimer([this] { BindWanted(); })),
      repeat_timer_(clock.NewTimer([this] { Repeat(); })) {
  portal_.SetEvents({
      .bound =
          [this](const std::vector<BoundShortcut>& bound) {
            desktop_bindings_.clear();
            for (const BoundShortcut& shortcut : bound) {
              desktop_bindings_[shortcut.id] = shortcut.trigger;
            }
          },
      .activated = [this](const std::string& id) { Activated(id); },
      .deactivated = [this](const std::string& id) { Deactivated(id); },
      .failed = [this](const std::string& reason) { Failed(reason); },
  });
  portal_.Open();
}

PortalHotKeys::~PortalHotKeys() {
  portal_.SetEvents({});
  portal_.Close();
}

bool PortalHotKeys::Register(int id, uint32_t modifiers, uint32_t virtual_key,
                             const std::string& description) {
  if (failed_) return false;
  wanted_[id] = {virtual_key,
                 {ShortcutId(id), description, PreferredTrigger(modifiers, virtual_key)}};
  bind_timer_->Start(std::chrono::milliseconds(0));
  return true;
}

void PortalHotKeys::Unregister(int id) {
  if (held_ == id) {
    held_.reset();
    repeat_timer_->Stop();
  }
  wanted_.erase(id);
}

std::string PortalHotKeys::DesktopBinding(int id) const {
  const auto found = desktop_bindings_.find(ShortcutId(id));
  return found == desktop_bindings_.end() ? std::string() : found->second;
}

void PortalHotKeys::BindWanted() {
  // Keys that are let go of stay with the desktop until the next binding; their
  // presses are not heard. So an empty list, as while the settings are open, binds
  // nothing, and neither does the list bound last.
  std::vector<PortalShortcut> shortcuts;
  for (const auto& [id, wanted] : wanted_) shortcuts.push_back(wanted.shortcut);
  if (failed_ || shortcuts.empty() || shortcuts == last_bound_) return;
  last_bound_ = shortcuts;
  portal_.Bind(shortcuts);
}

void PortalHotKeys::Activated(const std::string& shortcut_id) {
  const std::optional<int> id = IdOf(shortcut_id);
  if (!id || !wanted_.contains(*id)) return;
  held_ = id;
  Fire(*id);
  repeat_timer_->Start(kRepeat);
}

void PortalHotKeys::Deactivated(const std::string& shortcut_id) {
  if (held_ && IdOf(shortcut_id) == held_) {
    held_.reset();
    repeat_timer_->Stop();
  }
}

void PortalHotKeys::Repeat() {
  if (!held_) return;
  Fire(*held_);
  repeat_timer_->Start(kRepeat);
}

void PortalHotKeys::Failed(const std::string& reason) {
  held_.reset();
  repeat_timer_->Stop();
  if (failed_) return;
  failed_ = true;
  if (unavailable_) unavailable_(reason);
}

void PortalHotKeys::Fire(int id) {
  if (fired_) fired_(id, wanted_.at(id).virtual_key);
}

}  // namespace parlavox
