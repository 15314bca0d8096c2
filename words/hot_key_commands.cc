#include "words/hot_key_commands.h"

namespace parlavox::hot_key_command {

const char* FixedText(int32_t command) {
  static const char* const kTexts[] = {"",
                                       "Open Parlavox",
                                       "Close Parlavox",
                                       "Call selected user",
                                       "Reply to previous caller",
                                       "Turn Parlavox On",
                                       "Turn Parlavox Off"};
  return command >= kOpen && command <= kLastFixed ? kTexts[command] : "";
}

}  // namespace parlavox::hot_key_command
