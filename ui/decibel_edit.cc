#include "ui/decibel_edit.h"

#include <QEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

namespace parlavox {
namespace {

constexpr int kThumbWidth = 3;

}  // namespace

LDBEdit::LDBEdit(QWidget* parent)
    : QWidget(parent),
      text_(new QLineEdit(this)),
      // The longest text of the range, with the field's frame and margins.
      text_width_(text_->fontMetrics().horizontalAdvance("-36dB") + 14) {
  text_->setAlignment(Qt::AlignRight);
  text_->setText(QString::fromStdString(model_.Text()));
  text_->installEventFilter(this);
  setFocusPolicy(Qt::StrongFocus);
  setFocusProxy(text_);
  SetName("Level in decibels");
  QObject::connect(text_, &QLineEdit::textEdited, this, [this](const QString& text) {
    const Decibels before = model_.level();
    if (!model_.Typed(text.toStdString())) return;
    UpdateBar(before, model_.level());  // the text stays as typed
  });
}

void LDBEdit::SetLevel(int level) {
  const Decibels before = model_.level();
  model_.SetLevel(level);
  UpdateBar(before, model_.level());
  text_->setText(QString::fromStdString(model_.Text()));
}

void LDBEdit::SetName(const QString& name) {
  setAccessibleName(name);
  text_->setAccessibleName(name);
}

void LDBEdit::resizeEvent(QResizeEvent*) { text_->setGeometry(0, 0, text_width_, height()); }

bool LDBEdit::eventFilter(QObject* watched, QEvent* event) {
  if (watched != text_ || event->type() != QEvent::KeyPress) return false;
  const int before = model_.level();
  bool changed = false;
  switch (static_cast<QKeyEvent*>(event)->key()) {
    case Qt::Key_Up:
      changed = model_.Step(1);
      break;
    case Qt::Key_Down:
      changed = model_.Step(-1);
      break;
    case Qt::Key_PageUp:
      changed = model_.Step(6);
      break;
    case Qt::Key_PageDown:
      changed = model_.Step(-6);
      break;
    case Qt::Key_Home:
      changed = model_.Step(-(model_.maximum() - model_.minimum()));
      break;
    case Qt::Key_End:
      changed = model_.Step(model_.maximum() - model_.minimum());
      break;
    default:
      return false;  // typing goes to the text field
  }
  if (changed) ChangedByHand(before);
  return true;
}

void LDBEdit::wheelEvent(QWheelEvent* event) {
  wheel_angle_ += event->angleDelta().y();
  const int steps = wheel_angle_ / 120;  // one notch of a common wheel
  wheel_angle_ -= steps * 120;
  const int before = model_.level();
  if (steps != 0 && model_.Step(steps)) ChangedByHand(before);
  event->accept();
}

void LDBEdit::ChangedByHand(int before) {
  UpdateBar(before, model_.level());
  text_->setText(QString::fromStdString(model_.Text()));
}

void LDBEdit::changeEvent(QEvent* event) {
  if (event->type() == QEvent::EnabledChange) update();  // grey while disabled
  QWidget::changeEvent(event);
}

void LDBEdit::focusInEvent(QFocusEvent*) {
  text_->setFocus();
  text_->setSelection(0, 8);
}

void LDBEdit::mousePressEvent(QMouseEvent* event) {
  text_->setFocus();
  if (event->button() == Qt::LeftButton) {
    PointedAt(event->position().toPoint().x(), DecibelEditModel::Pointing::kPress);
  }
}

void LDBEdit::mouseMoveEvent(QMouseEvent* event) {
  if (event->buttons() & Qt::LeftButton) {
    PointedAt(event->position().toPoint().x(), DecibelEditModel::Pointing::kDrag);
  }
}

void LDBEdit::PointedAt(int x, DecibelEditModel::Pointing pointing) {
  const Decibels before = model_.level();
  if (model_.PointedAt(x, text_width_, width(), pointing)) ChangedByHand(before);
}

void LDBEdit::UpdateBar(int from, int to) {
  const int bar = width() - text_width_;
  const int a = model_.BarX(std::min(from, to), text_width_, bar);
  const int b = model_.BarX(std::max(from, to), text_width_, bar);
  update(QRect(a - 2, 0, b - a + 4 + kThumbWidth, height()));
}

void LDBEdit::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  const int left = text_width_;
  const int bar = width() - left;
  const int at = std::min(model_.BarX(model_.level(), left, bar), width() - kThumbWidth);
  const int zero = model_.BarX(0, left, bar);
  const bool enabled = isEnabled();
  const QColor grey(128, 128, 128);
  painter.fillRect(QRect(left, 0, std::min(at, zero) - left, height()),
                   enabled ? QColor(0, 128, 0) : grey);
  if (model_.level() >= 0) {
    painter.fillRect(QRect(zero, 0, at - zero, height()), enabled ? QColor(192, 0, 0) : grey);
  }
  painter.fillRect(QRect(at, 0, width() - at, height()), enabled ? Qt::black : grey);
  // The thumb, raised: light on its left and top, dark on its right and bottom.
  const QRect thumb(at, 0, kThumbWidth, height());
  painter.fillRect(thumb, QColor(192, 192, 192));
  painter.setPen(Qt::white);
  painter.drawLine(thumb.topLeft(), thumb.bottomLeft());
  painter.drawLine(thumb.topLeft(), thumb.topRight());
  painter.setPen(Qt::black);
  painter.drawLine(thumb.topRight(), thumb.bottomRight());
  painter.drawLine(thumb.bottomLeft(), thumb.bottomRight());
}

}  // namespace parlavox
