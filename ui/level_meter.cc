#include "ui/level_meter.h"

#include <QEvent>
#include <QPaintEvent>
#include <QPainter>

#include "ui/pictures.h"

namespace parlavox {

LevelMeter::LevelMeter(bool white_edge, QWidget* parent)
    : QWidget(parent), white_edge_(white_edge) {
  setAttribute(Qt::WA_OpaquePaintEvent);
  setMinimumHeight(8);
}

QRect LevelMeter::BarArea() const {
  const QRect area = rect();
  return white_edge_ ? area.adjusted(0, 0, -1, -1) : area;
}

void LevelMeter::SetLevels(const ChannelLevels& levels) {
  for (const QRect& changed : model_.SetLevels(levels, BarArea())) update(changed);
}

void LevelMeter::changeEvent(QEvent* event) {
  if (event->type() == QEvent::EnabledChange) update();  // a disabled meter is grey
  QWidget::changeEvent(event);
}

void LevelMeter::paintEvent(QPaintEvent* event) {
  QPainter painter(this);
  const QRect area = BarArea();
  const QRect dirty = event->rect();
  if (model_.count() == 0 || !isEnabled()) {
    painter.fillRect(dirty, QColor(128, 128, 128));
  } else {
    const qreal ratio = devicePixelRatioF();
    QBrush green(MeterTile(false, ratio)), red(MeterTile(true, ratio));
    for (int i = 0; i < model_.count(); ++i) {
      const QRect strip = LevelMeterModel::Strip(i, model_.count(), area);
      const int level = model_.level(i);
      const int zero = LevelMeterModel::X(0, area.left(), area.width());
      const int at = LevelMeterModel::X(level, area.left(), area.width());
      const int green_end = level < 0 ? at : zero;
      // The tiles line up with the strip they fill.
      green.setTransform(QTransform::fromTranslate(0, strip.top()));
      red.setTransform(QTransform::fromTranslate(0, strip.top()));
      auto fill = [&](int from, int to, const QBrush& brush) {
        const QRect span = QRect(from, strip.top(), to - from, strip.height()).intersected(dirty);
        if (!span.isEmpty()) painter.fillRect(span, brush);
      };
      fill(area.left(), green_end, green);
      if (level > 0) fill(green_end, at, red);
      fill(std::max(green_end, at), area.right() + 1, Qt::black);
    }
  }
  if (white_edge_) {
    painter.setPen(Qt::white);
    painter.drawLine(0, height() - 1, width() - 1, height() - 1);
    painter.drawLine(width() - 1, height() - 1, width() - 1, 0);
  }
}

}  // namespace parlavox
