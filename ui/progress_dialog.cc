#include "ui/progress_dialog.h"

#include <QCoreApplication>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

#include "ui/pictures.h"

namespace parlavox {
namespace {

QString Text(std::string_view text) {
  return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

}  // namespace

ProgressDialog::ProgressDialog(bool assume_yes) : assume_yes_(assume_yes) {
  setWindowTitle("Installing Parlavox");
  setWindowIcon(ProgramIcon());
  auto* icon = new QLabel;
  icon->setPixmap(ProgramIcon().pixmap(32, 32));
  title_ = new QLabel("Installing Parlavox");
  QFont bold = title_->font();
  bold.setBold(true);
  title_->setFont(bold);
  bar_ = new QProgressBar;
  bar_->setRange(0, 100);
  status_ = new QLabel(" ");
  status_->setFrameStyle(QFrame::Panel | QFrame::Sunken);
  auto* cancel = new QPushButton("Cancel");
  connect(cancel, &QPushButton::clicked, this, &ProgressDialog::reject);

  auto* texts = new QVBoxLayout;
  texts->addWidget(title_);
  texts->addWidget(new QLabel("Parlavox " PARLAVOX_VERSION));
  auto* top = new QHBoxLayout;
  top->addWidget(icon, 0, Qt::AlignTop);
  top->addLayout(texts, 1);
  auto* bottom = new QHBoxLayout;
  bottom->addStretch(1);
  bottom->addWidget(cancel);
  auto* layout = new QVBoxLayout(this);
  layout->addLayout(top);
  layout->addWidget(bar_);
  layout->addWidget(status_);
  layout->addLayout(bottom);
  setMinimumWidth(360);
}

void ProgressDialog::SetTitle(std::string_view title) {
  setWindowTitle(Text(title));
  title_->setText(Text(title));
  QCoreApplication::processEvents();
}

void ProgressDialog::SetStatus(std::string_view status) {
  status_->setText(Text(status));
  QCoreApplication::processEvents();
}

void ProgressDialog::SetProgress(int percent) { bar_->setValue(percent); }

bool ProgressDialog::Cancelled() {
  QCoreApplication::processEvents();
  return cancelled_;
}

bool ProgressDialog::AcceptTerms(std::string_view terms) {
  if (assume_yes_) return true;
  QDialog dialog(this);
  dialog.setWindowTitle("Licence Terms");
  auto* text = new QPlainTextEdit(Text(terms));
  text->setReadOnly(true);
  text->setLineWrapMode(QPlainTextEdit::NoWrap);
  text->setMinimumSize(600, 320);
  auto* buttons = new QDialogButtonBox;
  buttons->addButton("I &Accept", QDialogButtonBox::AcceptRole)->setDefault(true);
  buttons->addButton(QDialogButtonBox::Cancel);
  connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
  connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
  auto* layout = new QVBoxLayout(&dialog);
  layout->addWidget(
      new QLabel("Please read the licence terms. Parlavox is installed only when "
                 "you accept them."));
  layout->addWidget(text);
  layout->addWidget(buttons);
  return dialog.exec() == QDialog::Accepted;
}

bool ProgressDialog::Confirm(std::string_view caption, std::string_view question) {
  if (assume_yes_) return true;
  QMessageBox box(QMessageBox::Critical, Text(caption), Text(question),
                  QMessageBox::Yes | QMessageBox::No, this);
  return box.exec() == QMessageBox::Yes;
}

void ProgressDialog::ShowError(std::string_view caption, std::string_view text) {
  QMessageBox::warning(this, Text(caption), Text(text));
}

void ProgressDialog::reject() {
  cancelled_ = true;
  hide();
}

}  // namespace parlavox
