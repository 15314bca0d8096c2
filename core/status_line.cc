#include "core/status_line.h"

namespace parlavox {

StatusLine::StatusLine(Clock& clock, std::vector<std::string> idle_texts, Show show)
    : idle_texts_(std::move(idle_texts)),
      show_(std::move(show)),
      timer_(clock.NewTimer([this] { ShowNextIdleText(); })) {}

void StatusLine::Start() { timer_->Start(kFirstIdleText); }

void StatusLine::Stop() { timer_->Stop(); }

void StatusLine::ShowStatus(const std::string& text) {
  text_ = text;
  show_(text_, false);
  timer_->Start(kStatusHold);
}

void StatusLine::ShowNextIdleText() {
  if (idle_texts_.empty()) return;
  if (next_idle_text_ >= idle_texts_.size()) next_idle_text_ = 0;
  text_ = idle_texts_[next_idle_text_++];
  show_(text_, true);
  timer_->Start(kIdleTextTurn);
}

}  // namespace parlavox
