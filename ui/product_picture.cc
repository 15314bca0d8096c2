#include "ui/product_picture.h"

#include <QPainter>

#include "ui/pictures.h"

namespace parlavox {
namespace {

// A sans-serif font whose lines are 16 pixels apart at most, so that the five lines of
// the distributor block fit under the picture.
QFont TextFont(int weight) {
  QFont font;
  font.setStyleHint(QFont::SansSerif);
  font.setWeight(static_cast<QFont::Weight>(weight));
  for (int size = 16; size > 8; --size) {
    font.setPixelSize(size);
    if (QFontMetrics(font).lineSpacing() <= 16) break;
  }
  return font;
}

// The height of the text block: the five lines of the distributor block, whatever the
// font's real line spacing, with a margin above and below.
int TextHeight() { return 5 * QFontMetrics(TextFont(400)).lineSpacing() + 8; }

}  // namespace

ProductPicture::ProductPicture(QWidget* parent)
    : QWidget(parent), picture_(SplashPicture(devicePixelRatioF())) {
  setFixedSize(sizeHint());
}

QSize ProductPicture::sizeHint() const {
  const QSize picture = picture_.deviceIndependentSize().toSize();
  return {picture.width(), picture.height() + TextHeight()};
}

void ProductPicture::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), Qt::white);
  painter.drawPixmap(0, 0, picture_);
  const int picture_height = picture_.deviceIndependentSize().toSize().height();
  const QRect text(2, picture_height + 2, width() - 4 - 2, height() - picture_height - 4);
  painter.setPen(Qt::black);

  QRect used;
  painter.setFont(TextFont(700));
  painter.drawText(text, Qt::TextWordWrap, "Parlavox", &used);
  painter.setFont(TextFont(400));
  painter.drawText(text.adjusted(0, used.height(), 0, 0), Qt::TextWordWrap,
                   "Parlavox " PARLAVOX_VERSION);
  painter.drawText(text, Qt::AlignRight | Qt::TextWordWrap,
                   "Distributed by:\nQuillory\nwww.quillory.example\n\n\u00a9 Quillory");
}

}  // namespace parlavox
