#include "ui/decibel_edit_model.h"

#include <algorithm>

namespace parlavox {

void DecibelEditModel::SetLevel(int level) {
  level_ = static_cast<Decibels>(std::clamp(level, minimum_, std::max(minimum_, maximum_)));
}

void DecibelEditModel::SetRange(int minimum, int maximum) {
  minimum_ = static_cast<Decibels>(minimum);
  maximum_ = static_cast<Decibels>(maximum);
}

bool DecibelEditModel::Typed(std::string_view text) {
  const Decibels typed = ParseDecibels(text.substr(0, 6));
  if (typed == level_) return false;
  SetLevel(typed);
  return true;
}

bool DecibelEditModel::PointedAt(int x, int left, int width, Pointing pointing) {
  if (x < left && pointing == Pointing::kPress) return false;
  const int bar = std::max(width - left, 1);
  const int level = minimum_ + std::clamp(x - left, 0, bar) * (maximum_ - minimum_) / bar;
  const Decibels before = level_;
  SetLevel(level);
  return level_ != before;
}

bool DecibelEditModel::Step(int decibels) {
  const Decibels before = level_;
  SetLevel(std::max<int>(level_, minimum_) + decibels);
  return level_ != before;
}

int DecibelEditModel::BarX(int level, int left, int width) const {
  return left + (level - minimum_) * width / range();
}

}  // namespace parlavox
