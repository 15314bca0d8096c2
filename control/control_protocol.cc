#include "control/control_protocol.h"

#include <charconv>

namespace parlavox {
namespace {

constexpr ControlOption kControlOptions[] = {
    {"status", nullptr, "Print the running copy's state as JSON."},
    {"call", "position", "Start talking to the user at this place in the list (0 first)."},
    {"reply", nullptr, "Start talking to whoever called last."},
    {"hangup", nullptr, "Stop talking."},
    {"on", nullptr,
     "Turn the running copy's intercom on (if its Settings are open, when they close)."},
    {"off", nullptr,
     "Turn the running copy's intercom off (if its Settings are open, when they close)."},
    {"show", nullptr, "Ask the running copy to show its window."},
    {"quit", nullptr, "Close the running copy without asking."},
    {"set-name", "text", "Set the name others see for you."},
    {"set-id", "number", "Set your user id (1 to 2147483647)."},
    {"set-email", "text", "Set your e-mail text."},
};

std::optional<int32_t> ParseWhole(std::string_view text, int32_t lowest) {
  int32_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value < lowest) {
    return std::nullopt;
  }
  return value;
}

}  // namespace

std::span<const ControlOption> ControlOptions() { return kControlOptions; }

bool ChangesIdentity(std::string_view option) { return option.starts_with("set-"); }

std::optional<int32_t> ParseUserId(std::string_view text) { return ParseWhole(text, 1); }

std::optional<int32_t> ParseListIndex(std::string_view text) { return ParseWhole(text, 0); }

std::optional<std::string> CheckControlValue(std::string_view option, std::string_view value) {
  if (option == "set-id" && !ParseUserId(value)) {
    return "the id must be a whole number from 1 to 2147483647";
  }
  if (option == "set-name" && value.find_first_not_of(" \t") == std::string_view::npos) {
    return "the name must not be empty: colleagues would see nobody";
  }
  if (option == "call" && !ParseListIndex(value)) {
    return "the user's position must be a whole number from 0";
  }
  return std::nullopt;
}

std::optional<IdentityChange> IdentityChangeFor(std::string_view option, std::string_view value) {
  IdentityChange change;
  if (option == "set-name") {
    change.name = value;
  } else if (option == "set-email") {
    change.email = value;
  } else if (option == "set-id") {
    change.id = ParseUserId(value);
    if (!change.id) return std::nullopt;
  } else {
    return std::nullopt;
  }
  return change;
}

}  // namespace parlavox
