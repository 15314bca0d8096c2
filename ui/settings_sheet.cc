#include "ui/settings_sheet.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QMessageBox>
#include <QPushButton>
#include <QTabWidget>
#include <QVBoxLayout>
#include <set>

#include "ui/help.h"
#include "ui/pictures.h"

namespace parlavox {

void RunSettingsSheet(QWidget* owner, const SettingsContext& context) {
  QDialog sheet(owner);
  sheet.setWindowTitle("Settings");
  sheet.setWindowIcon(ProgramIcon());
  auto* tabs = new QTabWidget;
  SettingsPage* pages[] = {NewGeneralPage(context), NewUsersPage(context), NewKeysPage(context)};
  tabs->addTab(pages[0], "General");
  tabs->addTab(pages[1], "Users");
  tabs->addTab(pages[2], "Keys");
  std::set<SettingsPage*> filled;
  int current = 0;
  auto show = [&](int index) {
    if (filled.insert(pages[index]).second) pages[index]->Fill();  // filled when first shown
    current = index;
  };
  show(0);
  QObject::connect(tabs, &QTabWidget::currentChanged, &sheet, [&](int index) {
    pages[current]->Save();  // leaving a page saves it
    show(index);
  });

  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel |
                                       QDialogButtonBox::Help);
  QObject::connect(buttons, &QDialogButtonBox::accepted, &sheet, [&] {
    pages[current]->Save();
    sheet.accept();
  });
  QObject::connect(buttons, &QDialogButtonBox::rejected, &sheet, &QDialog::reject);
  QObject::connect(buttons, &QDialogButtonBox::helpRequested, &sheet, [&] {
    OpenHelp(pages[current]->help_topic(), &sheet, [&sheet] {
      QMessageBox::warning(&sheet, "Settings", "The help could not be opened");
    });
  });
  auto* layout = new QVBoxLayout(&sheet);
  layout->addWidget(tabs);
  layout->addWidget(buttons);
  sheet.exec();
}

}  // namespace parlavox
