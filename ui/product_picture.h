#ifndef PARLAVOX_UI_PRODUCT_PICTURE_H_
#define PARLAVOX_UI_PRODUCT_PICTURE_H_

#include <QPixmap>
#include <QWidget>

namespace parlavox {

// The program's picture with its name under it: "Parlavox" in bold, the name with the
// version, and on the right the distributor block. As wide as the picture and 88
// pixels taller. The splash window and the About dialog show it.
class ProductPicture : public QWidget {
 public:
  explicit ProductPicture(QWidget* parent = nullptr);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  QPixmap picture_;
};

}  // namespace parlavox

#endif  // PARLAVOX_UI_PRODUCT_PICTURE_H_
