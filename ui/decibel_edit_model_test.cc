#include "ui/decibel_edit_model.h"

#include <gtest/gtest.h>

namespace parlavox {
namespace {

TEST(DecibelEditModelTest, LevelsSetTypedOrSteppedStayWithinTheRange) {
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

  // Typed, a level changes only when it reads differently.
  DecibelEditModel typed;
  EXPECT_TRUE(typed.Typed("-6"));
  EXPECT_EQ(typed.level(), -6);
  EXPECT_FALSE(typed.Typed("-6dB"));        // the same level: nothing to report
  EXPECT_FALSE(typed.Typed("-6dBxxxxx9"));  // only the first 6 characters count
  EXPECT_TRUE(typed.Typed("--dB"));
  EXPECT_EQ(typed.level(), -36);  // silence, held to the range
  EXPECT_TRUE(typed.Typed("500"));
  EXPECT_EQ(typed.level(), 12);

  // Steps stay within the range too.
  DecibelEditModel stepped;
  EXPECT_TRUE(stepped.Step(1));
  EXPECT_EQ(stepped.level(), 1);
  EXPECT_TRUE(stepped.Step(100));
  EXPECT_EQ(stepped.level(), 12);
  EXPECT_FALSE(stepped.Step(1));
  stepped.Typed("--");  // silence, held to the range: steps go on from the minimum
  EXPECT_FALSE(stepped.Step(-6));
  EXPECT_EQ(stepped.level(), -36);
  EXPECT_TRUE(stepped.Step(6));
  EXPECT_EQ(stepped.level(), -30);
}

TEST(DecibelEditModelTest, TheBarRunsFromMinimumToMaximum) {
  using enum DecibelEditModel::Pointing;
  DecibelEditModel edit;
  constexpr int kLeft = 40, kWidth = kLeft + 96;
  EXPECT_FALSE(edit.PointedAt(10, kLeft, kWidth, kPress));  // the text field
  EXPECT_TRUE(edit.PointedAt(kLeft, kLeft, kWidth, kPress));
  EXPECT_EQ(edit.level(), -36);
  EXPECT_TRUE(edit.PointedAt(kWidth, kLeft, kWidth, kPress));
  EXPECT_EQ(edit.level(), 12);
  EXPECT_FALSE(edit.PointedAt(kWidth + 50, kLeft, kWidth, kDrag));  // beyond: still the end
  EXPECT_TRUE(edit.PointedAt(kLeft + 72, kLeft, kWidth, kDrag));
  EXPECT_EQ(edit.level(), 0);
  EXPECT_TRUE(edit.PointedAt(-30, kLeft, kWidth, kDrag));  // dragged past the left end
  EXPECT_EQ(edit.level(), -36);
  EXPECT_EQ(edit.BarX(0, kLeft, 96), kLeft + 72);

  edit.SetRange(5, 5);  // a range of nothing counts as 1: no division by zero
  EXPECT_EQ(edit.BarX(5, kLeft, 96), kLeft);
  edit.PointedAt(100, kLeft, kWidth, kPress);
  EXPECT_EQ(edit.level(), 5);
}

}  // namespace
}  // namespace parlavox
