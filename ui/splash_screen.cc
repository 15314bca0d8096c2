#include "ui/splash_screen.h"

#include <QGuiApplication>
#include <QScreen>
#include <QTimer>
#include <QVBoxLayout>

#include "ui/product_picture.h"

namespace parlavox {
namespace {

constexpr int kShowMs = 7000;

// The splash window: gone after 7 s or a click.
class SplashWindow : public QWidget {
 public:
  explicit SplashWindow(QWidget* owner)
      : QWidget(owner, Qt::SplashScreen | Qt::FramelessWindowHint) {
    setAttribute(Qt::WA_DeleteOnClose);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(1, 1, 1, 1);  // a thin frame, drawn by the palette below
    layout->addWidget(new ProductPicture(this));
    setAutoFillBackground(true);
    QPalette frame = palette();
    frame.setColor(QPalette::Window, QColor(0x1c, 0x6a, 0xa3));
    setPalette(frame);
    adjustSize();
    // A precise timer: a coarse one may end the splash a few hundred ms early.
    QTimer::singleShot(kShowMs, Qt::PreciseTimer, this, &QWidget::close);
  }

 protected:
  void mousePressEvent(QMouseEvent*) override { close(); }
};

}  // namespace

void LSplashScreen::Show(QWidget* owner) {
  Close();
  auto* window = new SplashWindow(owner);
  const QRect desktop =
      (owner && owner->screen() ? owner->screen() : QGuiApplication::primaryScreen())->geometry();
  window->move(desktop.x() + (desktop.width() - window->width()) / 2,
               desktop.y() + (desktop.height() - window->height()) / 2);
  window->show();
  window_ = window;
}

void LSplashScreen::Close() {
  if (window_) window_->close();
  window_ = nullptr;
}

}  // namespace parlavox
