#include "ui/folder_prompt.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace parlavox {

std::optional<QString> BrowseForFolder(QWidget* owner, const QString& title, const QString& start) {
  // Opens at the folder named so far, or the nearest one above it that exists.
  QDir place(start.trimmed().isEmpty() ? QDir::homePath() : start.trimmed());
  while (!place.exists() && place.cdUp()) {
  }
  const QString folder = QFileDialog::getExistingDirectory(
      owner, title, place.exists() ? place.absolutePath() : QDir::homePath());
  if (folder.isEmpty()) return std::nullopt;
  return folder;
}

std::optional<QString> AskForFolder(QWidget* owner, const QString& title, const QString& start) {
  QDialog dialog(owner);
  dialog.setWindowTitle(title);
  auto* path = new QLineEdit(start);
  path->setMinimumWidth(320);
  auto* browse = new QPushButton("&Browse...");
  QObject::connect(browse, &QPushButton::clicked, &dialog, [&] {
    if (const std::optional<QString> folder = BrowseForFolder(&dialog, title, path->text()))
      path->setText(*folder);
  });
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
  QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
  auto* row = new QHBoxLayout;
  row->addWidget(path, 1);
  row->addWidget(browse);
  auto* layout = new QVBoxLayout(&dialog);
  layout->addWidget(new QLabel("Folder:"));
  layout->addLayout(row);
  layout->addWidget(buttons);
  if (dialog.exec() != QDialog::Accepted || path->text().trimmed().isEmpty()) return std::nullopt;
  return path->text().trimmed();
}

}  // namespace parlavox
