#include "ui/settings_sheet.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QMessageBox>
#include <QPushButton>
#include <QScreen>
#include <QScrollArea>
#include <QStyle>
#include <QTabWidget>
#include <QVBoxLayout>
#include <algorithm>
#include <set>

#include "ui/help.h"
#include "ui/pictures.h"

namespace parlavox {

namespace {

// A page in a scroll area that asks for the whole page, so that it scrolls only where
// the sheet is cut to the screen (at twice the scale on a laptop's 1080 lines, the
// General page is taller than the screen).
class WholePageScroller : public QScrollArea {
 public:
  explicit WholePageScroller(QWidget* page) {
    setWidget(page);
    setWidgetResizable(true);
    setFrameShape(QFrame::NoFrame);
    setFocusPolicy(Qt::NoFocus);  // Tab goes from control to control, each scrolled into sight
    page->setAutoFillBackground(false);  // the tab's own background shows through
    viewport()->setAutoFillBackground(false);
  }
  QSize sizeHint() const override { return widget()->sizeHint(); }
};

// Makes the sheet no taller than the screen it opens on leaves room for, its title
// bar included.
void FitToScreen(QDialog& sheet, QWidget* owner) {
  const QScreen* screen = owner != nullptr ? owner->screen() : sheet.screen();
  const int room = screen->availableGeometry().height() -
                   sheet.style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, &sheet);
  const QSize wanted = sheet.sizeHint();
  sheet.resize(wanted.width(), std::min(wanted.height(), room));
}

}  // namespace

void RunSettingsSheet(QWidget* owner, const SettingsContext& context) {
  QDialog sheet(owner);
  sheet.setWindowTitle("Settings");
  sheet.setWindowIcon(ProgramIcon());
  auto* tabs = new QTabWidget;
  SettingsPage* pages[] = {NewGeneralPage(context), NewUsersPage(context), NewKeysPage(context)};
  tabs->addTab(new WholePageScroller(pages[0]), "General");
  tabs->addTab(new WholePageScroller(pages[1]), "Users");
  tabs->addTab(new WholePageScroller(pages[2]), "Keys");
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
  FitToScreen(sheet, owner);
  sheet.exec();
}

}  // namespace parlavox
