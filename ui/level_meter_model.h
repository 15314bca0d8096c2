#ifndef PARLAVOX_UI_LEVEL_METER_MODEL_H_
#define PARLAVOX_UI_LEVEL_METER_MODEL_H_

#include <QRect>
#include <array>
#include <vector>

#include "audio/channel_levels.h"

namespace parlavox {

// What a level meter shows, and which parts of it a change repaints: one horizontal
// bar a channel (up to 8, in strips of equal height), each on a scale of -36 to +12
// dB, where x(level) = left + ((level + 36) x width) / 48.
class LevelMeterModel {
 public:
  static constexpr int kMaxChannels = 8;
  static constexpr int kLowest = -36;
  static constexpr int kHighest = 12;

  // Where `level` (already within the scale) lies in a bar from `left` `width` wide.
  static int X(int level, int left, int width);
  // The strip of channel `channel` of `count` in `area`.
  static QRect Strip(int channel, int count, const QRect& area);

  // Takes new levels (the first 8 channels, each held to the scale) for a meter whose
  // bars fill `area`; returns what has to be repainted: for each changed channel the
  // span between its old and new level, or all of `area` when the number of channels
  // changed. Levels that did not change repaint nothing.
  std::vector<QRect> SetLevels(const ChannelLevels& levels, const QRect& area);

  int count() const { return count_; }
  int level(int channel) const { return levels_[static_cast<size_t>(channel)]; }

 private:
  int count_ = 0;
  std::array<int, kMaxChannels> levels_{};
};

}  // namespace parlavox

#endif  // PARLAVOX_UI_LEVEL_METER_MODEL_H_
