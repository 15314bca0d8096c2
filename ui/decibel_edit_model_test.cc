#include "ui/decibel_edit_model.h"

#include <gtest/gtest.h>

namespace parlavox {
namespace {

TEST(DecibelEditModelTest, LevelsStayWithinTheRange) {
  DecibelEditModel edit;
  EXPECT_EQ(edit.minimum(), -36);
  EXPECT_EQ(edit.maximum(), 12);
  edit.SetLevel(20);
  EXPECT_EQ(edit.level(), 12);
  edit.SetLevel(-100);
  EXPECT_EQ(edit.level(), -36);

  edit.SetRange(-127, 127);  // a new range holds nothing until the next set
  EXPECT_EQ(edit.level(), -36);
  edit.SetLevel(-127);
  EXPECT_EQ(edit.Text(), "--dB");
  edit.SetLevel(-6);
  EXPECT_EQ(edit.Text(), "-6dB");
  edit.SetRange(0, -10);
  edit.SetLevel(-6);
  EXPECT_EQ(edit.level(), 0);
}

TEST(DecibelEditModelTest, TypingChangesTheLevelOnlyWhenItReadsDifferently) {
  DecibelEditModel edit;
  EXPECT_TRUE(edit.Typed("-6"));
  EXPECT_EQ(edit.level(), -6);
  EXPECT_FALSE(edit.Typed("-6dB"));        // the same level: nothing to report
  EXPECT_FALSE(edit.Typed("-6dBxxxxx9"));  // only the first 6 characters count
  EXPECT_TRUE(edit.Typed("--dB"));
  EXPECT_EQ(edit.level(), -36);  // silence, held to the range
  EXPECT_TRUE(edit.Typed("500"));
  EXPECT_EQ(edit.level(), 12);
}

TEST(DecibelEditModelTest, TheBarRunsFromMinimumToMaximum) {
  DecibelEditModel edit;
  constexpr int kWidth = 32 + 96;
  EXPECT_FALSE(edit.PointedAt(10, kWidth));  // the text field
  EXPECT_TRUE(edit.PointedAt(32, kWidth));
  EXPECT_EQ(edit.level(), -36);
  EXPECT_TRUE(edit.PointedAt(kWidth, kWidth));
  EXPECT_EQ(edit.level(), 12);
  EXPECT_FALSE(edit.PointedAt(kWidth + 50, kWidth));  // beyond the end: still the end
  EXPECT_TRUE(edit.PointedAt(32 + 72, kWidth));
  EXPECT_EQ(edit.level(), 0);
  EXPECT_EQ(edit.BarX(0, 32, 96), 32 + 72);

  edit.SetRange(5, 5);  // a range of nothing counts as 1: no division by zero
  EXPECT_EQ(edit.BarX(5, 32, 96), 32);
  edit.PointedAt(100, kWidth);
  EXPECT_EQ(edit.level(), 5);
}

}  // namespace
}  // namespace parlavox
