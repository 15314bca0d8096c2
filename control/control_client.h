#ifndef PARLAVOX_CONTROL_CONTROL_CLIENT_H_
#define PARLAVOX_CONTROL_CONTROL_CLIENT_H_

#include <string_view>

#include "core/record_store.h"

namespace parlavox {

// Carries out one control option of the command line (see control_protocol.h) on the
// running copy, printing its answer: a payload on standard output, a refusal on
// standard error. The "set-..." options change the own record directly when no copy
// runs, through `records`. Returns the exit code: 0 done, 1 refused or no running copy,
// 2 a wrong value.
int RunControlOption(std::string_view option, std::string_view value, RecordStore& records);

}  // namespace parlavox

#endif  // PARLAVOX_CONTROL_CONTROL_CLIENT_H_
