#ifndef PARLAVOX_CONTROL_CONTROL_REQUESTS_H_
#define PARLAVOX_CONTROL_CONTROL_REQUESTS_H_

#include <functional>
#include <string>
#include <string_view>

#include "core/intercom.h"

namespace parlavox {

// Answers one request line of the command-line control (see control_protocol.h) by
// acting on `intercom`. `reply` gets the answer, at once or, for a call, once it has
// started or been refused; a refused call answers with the reason. `reply` returns
// false when the asker has gone: a call that starts after its asker gave up waiting (a
// share slow to answer) ends at once, as a released key ends one, for nobody is left
// to hang it up. `quit` is called to end the copy after answering. A copy without a
// window answers "show" with "ok " + kNoWindowAnswer, so that a start that wants a
// window can take over.
inline constexpr std::string_view kNoWindowAnswer = "running without a window";
void AnswerControlRequest(std::string_view request, Intercom& intercom,
                          const std::function<void()>& quit,
                          std::function<bool(const std::string&)> reply);

// The intercom's state as one JSON object (see --status in the README).
std::string StatusJson(const IntercomSnapshot& snapshot);

}  // namespace parlavox

#endif  // PARLAVOX_CONTROL_CONTROL_REQUESTS_H_
