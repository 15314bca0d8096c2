#ifndef PARLAVOX_CORE_STOP_GUARD_H_
#define PARLAVOX_CORE_STOP_GUARD_H_

namespace parlavox {

// Whether closing the main window first asks "Confirm Stop" ("Do you want Parlavox to
// continue to operate in the background?"), and what each answer does. It asks until
// something closes the window without asking (the command line's --quit, an
// installer, the desktop session ending); a second start makes it ask again.
class StopGuard {
 public:
  enum class Answer { kYes, kNo, kCancel };
  enum class Outcome {
    kEnd,   // the intercom ends
    kHide,  // the window goes, the intercom keeps running
    kStay,  // nothing changes
  };

  bool asks() const { return asks_; }
  void AskAgain() { asks_ = true; }
  void DontAsk() { asks_ = false; }

  // What a close does; `ask` puts the question and is called only when it is asked.
  template <typename Ask>
  Outcome OnClose(Ask ask) const {
    if (!asks_) return Outcome::kEnd;
    switch (ask()) {
      case Answer::kYes:
        return Outcome::kHide;
      case Answer::kNo:
        return Outcome::kEnd;
      case Answer::kCancel:
        break;
    }
    return Outcome::kStay;
  }

 private:
  bool asks_ = true;
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_STOP_GUARD_H_
