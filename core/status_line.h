#ifndef PARLAVOX_CORE_STATUS_LINE_H_
#define PARLAVOX_CORE_STATUS_LINE_H_

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "util/clock.h"

namespace parlavox {

// The status line's text over time: a status text holds the line for 12 s; between
// status texts, and from 800 ms after Start, the idle texts take turns every 8 s,
// the rotation going on where it left off.
class StatusLine {
 public:
  static constexpr std::chrono::milliseconds kFirstIdleText{800};
  static constexpr std::chrono::milliseconds kIdleTextTurn{8000};
  static constexpr std::chrono::milliseconds kStatusHold{12000};

  // `show` gets each text as the line changes; `idle` tells an idle text.
  using Show = std::function<void(const std::string& text, bool idle)>;

  StatusLine(Clock& clock, std::vector<std::string> idle_texts, Show show);

  void Start();
  void Stop();
  void ShowStatus(const std::string& text);

  const std::string& text() const { return text_; }

 private:
  void ShowNextIdleText();

  std::vector<std::string> idle_texts_;
  Show show_;
  std::unique_ptr<Timer> timer_;
  size_t next_idle_text_ = 0;
  std::string text_;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_STATUS_LINE_H_
