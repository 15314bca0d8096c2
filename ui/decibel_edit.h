#ifndef PARLAVOX_UI_DECIBEL_EDIT_H_
#define PARLAVOX_UI_DECIBEL_EDIT_H_

#include <QLineEdit>
#include <QWidget>

#include "ui/decibel_edit_model.h"

namespace parlavox {

// A level in decibels that the person types or sets with the mouse (DecibelEditModel):
// a text field at the left, a bar to its right, dark green up to the level or 0 dB,
// red from 0 dB to a level above it, black beyond, with a light grey thumb at the
// level; grey throughout while disabled. The text field is wide enough for the longest
// level it shows. Like a slider, Up and Down step 1 dB, Page Up and Page Down 6 dB,
// Home and End go to the ends, and the mouse wheel steps a decibel a notch.
class LDBEdit : public QWidget {
 public:
  explicit LDBEdit(QWidget* parent = nullptr);

  void SetLevel(int level);
  Decibels level() const { return model_.level(); }
  void SetRange(int minimum, int maximum) { model_.SetRange(minimum, maximum); }
  // The name assistive technology reads for the control and its text field.
  void SetName(const QString& name);

  QSize sizeHint() const override { return {text_width_ + 128, 22}; }
  QSize minimumSizeHint() const override { return {text_width_ + 48, 22}; }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void changeEvent(QEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void wheelEvent(QWheelEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void PointedAt(int x, DecibelEditModel::Pointing pointing);
  // The level changed by the person's hand: bar, text and listener follow.
  void ChangedByHand(int before);
  // Repaints the bar between two levels, 2 pixels more on each side.
  void UpdateBar(int from, int to);

  DecibelEditModel model_;
  QLineEdit* text_;
  int text_width_;
  int wheel_angle_ = 0;  // eighths of a degree not yet turned into a step
};

}  // namespace parlavox

#endif  // PARLAVOX_UI_DECIBEL_EDIT_H_
