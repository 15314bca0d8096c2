#ifndef PARLAVOX_APP_MESSAGE_FILE_H_
#define PARLAVOX_APP_MESSAGE_FILE_H_

#include <chrono>
#include <string>

namespace parlavox {

// How long a message file that may still be in the writing is left alone after its last
// change. The caller's copy creates the file, then writes its header, then the sound as
// its microphone delivers it, and writes the exact header when the call ends.
constexpr std::chrono::seconds kMessageSettleTime{2};

// Whether the caller's copy is still writing the message at `path`: the file changed
// within the settle time and its header still claims more sound than the file holds
// (or there is no usable header yet). A caller that died mid-call leaves such a header
// behind; after the settle time its message counts as complete.
bool IsMessageStillComing(const std::string& path);

}  // namespace parlavox

#endif  // PARLAVOX_APP_MESSAGE_FILE_H_
