#ifndef PARLAVOX_UI_LEVEL_METER_H_
#define PARLAVOX_UI_LEVEL_METER_H_

#include <QWidget>

#include "audio/channel_levels.h"
#include "ui/level_meter_model.h"

namespace parlavox {

// A level meter: one horizontal bar a channel, green up to 0 dB and red above, black
// beyond the level, on the scale of LevelMeterModel; grey while disabled or without
// channels. With `white_edge` a one-pixel white line runs along its right and bottom
// edges and the bars keep clear of it. A change repaints only the part that changed.
class LevelMeter : public QWidget {
 public:
  explicit LevelMeter(bool white_edge, QWidget* parent = nullptr);

  void SetLevels(const ChannelLevels& levels);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  // Where the bars are drawn.
  QRect BarArea() const;

  bool white_edge_;
  LevelMeterModel model_;
};

}  // namespace parlavox

#endif  // PARLAVOX_UI_LEVEL_METER_H_
