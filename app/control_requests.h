#ifndef PARLAVOX_APP_CONTROL_REQUESTS_H_
#define PARLAVOX_APP_CONTROL_REQUESTS_H_

#include <functional>
#include <string>
#include <string_view>

#include "app/intercom.h"

namespace parlavox {

// The requests a running copy takes from the command line, one line each:
// "status", "on", "off", "show", "quit", "call N" (a position in the users list),
// "reply", "hangup", "set-name TEXT", "set-id N", "set-email TEXT". A call that can't
// start answers with the status text that says why. The answer is one line: "ok", "ok " + payload,
// or "error " + message. `quit` is called to end the copy after answering.
std::string AnswerControlRequest(std::string_view request, Intercom& intercom,
                                 const std::function<void()>& quit);

// The copy's state as one JSON object (see --status in the README).
std::string StatusJson(const Intercom& intercom);

// Reads a user id as given on the command line; nullopt unless it is a whole
// number from 1 to 2^31 - 1.
std::optional<int32_t> ParseUserId(std::string_view text);

// Reads a position in the users list as given on the command line; nullopt unless it
// is a whole number from 0.
std::optional<int32_t> ParseListIndex(std::string_view text);

}  // namespace parlavox

#endif  // PARLAVOX_APP_CONTROL_REQUESTS_H_
