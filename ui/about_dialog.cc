#include "ui/about_dialog.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QVBoxLayout>

#include "ui/product_picture.h"

namespace parlavox {

void RunAboutDialog(QWidget* owner) {
  QDialog dialog(owner);
  dialog.setWindowTitle("About Parlavox");
  auto* layout = new QVBoxLayout(&dialog);
  layout->addWidget(new ProductPicture(&dialog));
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok, &dialog);
  QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
  layout->addWidget(buttons);
  layout->setSizeConstraint(QLayout::SetFixedSize);
  dialog.exec();
}

}  // namespace parlavox
