#ifndef PARLAVOX_UI_DECIBEL_EDIT_MODEL_H_
#define PARLAVOX_UI_DECIBEL_EDIT_MODEL_H_

#include <string>
#include <string_view>

#include "words/decibels.h"

namespace parlavox {

// What a decibel edit holds and how the person changes it: a level in whole decibels
// (a signed 8-bit value, -127 meaning silence) within a range, by default -36 to 12,
// typed into a text field at the left, set on the bar to its right, or stepped with
// keys and the wheel. On a bar from `left` `width` wide, a level L lies at left +
// (L - minimum) x width / range, where a range of nothing counts as 1.
class DecibelEditModel {
 public:
  // How the pointer reached a place: a press on the text field changes nothing, a
  // drag that leaves the bar holds the level at the bar's nearer end.
  enum class Pointing { kPress, kDrag };

  Decibels level() const { return level_; }
  int minimum() const { return minimum_; }
  int maximum() const { return maximum_; }

  // Holds `level` within the range.
  void SetLevel(int level);
  // A new range; the level is not held to it until it is next set.
  void SetRange(int minimum, int maximum);

  // The person typed `text` (only its first 6 characters count); true when that
  // changed the level.
  bool Typed(std::string_view text);
  // The person pressed or dragged at `x` of a control `width` wide whose bar begins at
  // `left`. True when that changed the level.
  bool PointedAt(int x, int left, int width, Pointing pointing);
  // The person stepped the level by `decibels` (keys, the wheel). True when that
  // changed the level.
  bool Step(int decibels);

  // Where a level lies on a bar.
  int BarX(int level, int left, int width) const;
  // How the text field shows the level: "%ddB", or "--dB" for silence.
  std::string Text() const { return FormatDecibels(level_); }

 private:
  int range() const { return std::max(maximum_ - minimum_, 1); }

  Decibels level_ = 0;
  int minimum_ = -36;
  int maximum_ = 12;
};

}  // namespace parlavox

#endif  // PARLAVOX_UI_DECIBEL_EDIT_MODEL_H_
