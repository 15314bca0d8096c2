#include "ui/level_meter_model.h"

#include <algorithm>

namespace parlavox {

int LevelMeterModel::X(int level, int left, int width) {
  return left + ((level - kLowest) * width) / (kHighest - kLowest);
}

QRect LevelMeterModel::Strip(int channel, int count, const QRect& area) {
  const int top = area.top() + (channel * area.height()) / count;
  const int bottom = area.top() + ((channel + 1) * area.height()) / count;
  return QRect(area.left(), top, area.width(), bottom - top);
}

std::vector<QRect> LevelMeterModel::SetLevels(const ChannelLevels& levels, const QRect& area) {
  const int count = std::min<int>(levels.count, kMaxChannels);
  std::vector<QRect> changed;
  for (int i = 0; i < count; ++i) {
    const int level = std::clamp<int>(levels.levels[static_cast<size_t>(i)], kLowest, kHighest);
    const int old = std::exchange(levels_[static_cast<size_t>(i)], level);
    if (old == level) continue;
    const QRect strip = Strip(i, count, area);
    const int from = X(std::min(old, level), area.left(), area.width());
    const int to = X(std::max(old, level), area.left(), area.width());
    changed.emplace_back(QPoint(from, strip.top()), QSize(to - from, strip.height()));
  }
  if (std::exchange(count_, count) != count) return {area};
  return changed;
}

}  // namespace parlavox
