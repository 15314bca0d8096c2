#include "ui/level_meter_model.h"

#include <gtest/gtest.h>

namespace parlavox {
namespace {

ChannelLevels Levels(std::initializer_list<int> values) {
  ChannelLevels levels;
  levels.count = static_cast<uint8_t>(values.size());
  int i = 0;
  for (const int value : values)
    levels.levels[static_cast<size_t>(i++)] = static_cast<int8_t>(value);
  return levels;
}

TEST(LevelMeterModelTest, TheScaleRunsFromMinus36To12AndOnlyWhatChangedIsRepainted) {
  EXPECT_EQ(LevelMeterModel::X(-36, 0, 96), 0);
  EXPECT_EQ(LevelMeterModel::X(-12, 0, 96), 48);
  EXPECT_EQ(LevelMeterModel::X(0, 0, 96), 72);
  EXPECT_EQ(LevelMeterModel::X(12, 0, 96), 96);
  EXPECT_EQ(LevelMeterModel::X(0, 10, 96), 82);

  LevelMeterModel model;
  const QRect area(0, 0, 96, 20);
  EXPECT_EQ(model.SetLevels(Levels({-12}), area), std::vector<QRect>{area});  // a new count
  EXPECT_TRUE(model.SetLevels(Levels({-12}), area).empty());
  EXPECT_EQ(model.SetLevels(Levels({0}), area), std::vector<QRect>{QRect(48, 0, 24, 20)});
  EXPECT_EQ(model.SetLevels(Levels({-127}), area), std::vector<QRect>{QRect(0, 0, 72, 20)});
  EXPECT_EQ(model.level(0), -36);  // silence is an empty bar
  model.SetLevels(Levels({20}), area);
  EXPECT_EQ(model.level(0), 12);  // beyond the scale shows as its end

  EXPECT_EQ(model.SetLevels(Levels({12, -36}), area), std::vector<QRect>{area});  // 1 -> 2
  EXPECT_EQ(model.SetLevels(Levels({12, -12}), area),
            std::vector<QRect>{QRect(0, 10, 48, 10)});  // the second strip only

  ChannelLevels many;
  many.count = 9;
  for (int i = 0; i < 9; ++i) many.levels[static_cast<size_t>(i)] = 0;
  model.SetLevels(many, area);
  EXPECT_EQ(model.count(), 8);
}

}  // namespace
}  // namespace parlavox
