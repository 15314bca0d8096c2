#ifndef PARLAVOX_CONTROL_CONTROL_PROTOCOL_H_
#define PARLAVOX_CONTROL_CONTROL_PROTOCOL_H_

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "words/identity.h"

namespace parlavox {

// The command-line control of a running copy. Each option becomes one request line,
// "name" or "name value", sent to the running copy's control socket; the answer is
// one line: "ok", "ok " + payload, or "error " + message.
struct ControlOption {
  const char* name;
  const char* value_name;  // nullptr for options without a value
  const char* description;
};

std::span<const ControlOption> ControlOptions();

// Whether `option` changes the own record ("set-name", "set-id", "set-email"): those
// work without a running copy too.
bool ChangesIdentity(std::string_view option);

// Reads a user id as given on the command line; nullopt unless it is a whole number
// from 1 to 2^31 - 1.
std::optional<int32_t> ParseUserId(std::string_view text);

// Reads a position in the users list as given on the command line; nullopt unless it
// is a whole number from 0.
std::optional<int32_t> ParseListIndex(std::string_view text);

// Checks the value given with `option`; the message that says what is wrong, or
// nullopt when it is fine.
std::optional<std::string> CheckControlValue(std::string_view option, std::string_view value);

// The change a "set-..." request asks for; nullopt when `option` is none of them or
// its value is wrong.
std::optional<IdentityChange> IdentityChangeFor(std::string_view option, std::string_view value);

}  // namespace parlavox

#endif  // PARLAVOX_CONTROL_CONTROL_PROTOCOL_H_
