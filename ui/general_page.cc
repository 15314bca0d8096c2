// The General page of the settings.

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>
#include <optional>

#include "settings/general_settings.h"
#include "ui/decibel_edit.h"
#include "ui/device_lists.h"
#include "ui/folder_prompt.h"
#include "ui/help.h"
#include "ui/settings_pages.h"

namespace parlavox {
namespace {

class GeneralPage : public SettingsPage {
 public:
  explicit GeneralPage(const SettingsContext& context) : context_(context) {
    auto* output = new QGroupBox("Sound &Out Device");
    output_devices_ = new DeviceList;
    output_level_ = new LDBEdit;
    output_level_->SetName("Sound out level in decibels");
    auto* output_layout = new QGridLayout(output);
    output_layout->addWidget(output_devices_, 0, 0, 1, 2);
    output_layout->addWidget(new QLabel("Volume Level:"), 1, 0);
    output_layout->addWidget(output_level_, 1, 1);
    output->setTitle("Sound &Out Device");

    auto* input = new QGroupBox("Sound &In Device");
    input_devices_ = new DeviceList;
    sources_ = new QComboBox;
    input_level_ = new LDBEdit;
    input_level_->SetName("Sound in level in decibels");
    mixer_ = new QPushButton("Open System Record Mixer");
    auto* input_layout = new QGridLayout(input);
    input_layout->addWidget(input_devices_, 0, 0, 1, 2);
    input_layout->addWidget(sources_, 1, 0, 1, 2);
    input_layout->addWidget(new QLabel("Volume Level:"), 2, 0);
    input_layout->addWidget(input_level_, 2, 1);
    input_layout->addWidget(mixer_, 2, 1);  // in the same place: one of the two shows

    auto* folder = new QGroupBox("Inward Audio &Folder (for current user or computer)");
    folder_ = new QLineEdit;
    auto* change = new QPushButton("&Change");
    for_everyone_ = new QRadioButton("Folder changes apply for all users of this computer");
    for_me_ = new QRadioButton("Folder changes apply for current user only");
    auto* folder_layout = new QGridLayout(folder);
    folder_layout->addWidget(folder_, 0, 0);
    folder_layout->addWidget(change, 0, 1);
    folder_layout->addWidget(for_everyone_, 1, 0, 1, 2);
    folder_layout->addWidget(for_me_, 2, 0, 1, 2);
    auto* share = new QPushButton("Share on the network");
    auto* share_row = new QHBoxLayout;
    share_row->addWidget(share);
    share_row->addStretch();
    folder_layout->addLayout(share_row, 3, 0, 1, 2);

    auto* identity = new QGroupBox("Your &Name (as colleagues see it)");
    name_ = new QLineEdit;
    name_->setAccessibleName("Your name");
    name_->setMaxLength(59);  // what the record holds
    (new QVBoxLayout(identity))->addWidget(name_);

    start_at_login_ = new QCheckBox("Run Parlavox automatically on tray at start-up");

    auto* layout = new QVBoxLayout(this);
    layout->addWidget(output);
    layout->addWidget(input);
    layout->addWidget(folder);
    layout->addWidget(identity);
    layout->addWidget(start_at_login_);
    layout->addStretch();

    // The record sources follow the device only once the sources list is touched, as
    // the program always did.
    connect(sources_, &QComboBox::activated, this, [this] {
      unshown_source_line_.reset();
      FillRecordSources(input_devices_, sources_, context_.mixer);
      UpdateControls();
    });
    connect(mixer_, &QPushButton::clicked, this, [this] {
      OpenRecordMixer(this, [this] { mixer_->setText("No mixer program was found"); });
    });
    connect(share, &QPushButton::clicked, this, [this] { Share(); });
    connect(change, &QPushButton::clicked, this, [this] {
      if (auto chosen =
              BrowseForFolder(this, "Locate incoming audio files folder", folder_->text())) {
        folder_->setText(*chosen);
        folder_browsed_ = true;
      }
    });
  }

  void Fill() override {
    const GeneralSettings page =
        LoadGeneralSettings(context_.settings, context_.folders, context_.login);
    output_devices_->Fill(ListOutputDevices(), page.output_device);
    output_level_->SetLevel(page.output_level);
    input_devices_->Fill(ListInputDevices(), page.input_device);
    sources_->clear();
    FillRecordSources(input_devices_, sources_, context_.mixer);
    sources_->setCurrentIndex(page.source_line < sources_->count() ? page.source_line : -1);
    // A source its device can't offer now (the device is not there) stays the choice,
    // as the device does, unless the person picks one.
    unshown_source_line_.reset();
    if (sources_->currentIndex() != page.source_line) unshown_source_line_ = page.source_line;
    input_level_->SetLevel(page.input_level);
    folder_->setText(QString::fromStdString(page.inward_folder));
    folder_->setModified(false);
    (page.current_user_only ? for_me_ : for_everyone_)->setChecked(true);
    // Only what can be kept is offered: a folder for every user needs the right to
    // write the machine's folder store.
    for_everyone_->setEnabled(page.for_everyone_possible);
    for_everyone_->setToolTip(page.for_everyone_possible
                                  ? QString()
                                  : "Only an administrator can set the folder for all users");
    folder_browsed_ = false;
    name_->setText(QString::fromStdString(context_.own_record().Name()));
    start_at_login_->setChecked(page.start_at_login);
    UpdateControls();
  }

  void Save() override {
    GeneralSettings page;
    page.output_device = output_devices_->Selected();
    page.output_level = output_level_->level();
    page.input_device = input_devices_->Selected();
    page.source_line = unshown_source_line_.value_or(sources_->currentIndex());
    page.input_level = input_level_->level();
    page.inward_folder = folder_->text().toStdString();
    page.folder_changed = folder_->isModified() || folder_browsed_;
    page.current_user_only = for_me_->isChecked();
    page.start_at_login = start_at_login_->isChecked();
    SaveGeneralSettings(page, context_.settings, context_.folders, context_.login);
    folder_->setModified(false);
    folder_browsed_ = false;
    SaveName();
  }

  int help_topic() const override { return help::kGeneralPage; }

 private:
  // Shares the folder shown and says so with the names colleagues add it by, which a
  // button copies; or says what stands in the way, offering to let colleagues through
  // folders above it that keep them out.
  void Share(bool let_guests_through = false) {
    const UserShareOutcome outcome =
        context_.share_folder(folder_->text().trimmed().toStdString(), let_guests_through);
    QMessageBox box(outcome.done ? QMessageBox::Information : QMessageBox::Warning,
                    "Share on the network", QString::fromStdString(outcome.text), QMessageBox::Ok,
                    this);
    box.setTextInteractionFlags(Qt::TextSelectableByMouse);
    QStringList names;
    for (const std::string& name : outcome.names) names << QString::fromStdString(name);
    const QPushButton* copy =
        names.isEmpty() ? nullptr : box.addButton("&Copy names", QMessageBox::ActionRole);
    const QPushButton* let_through =
        outcome.guests_kept_out && !let_guests_through
            ? box.addButton("&Let colleagues through", QMessageBox::ActionRole)
            : nullptr;
    box.exec();
    if (copy != nullptr && box.clickedButton() == copy) {
      QGuiApplication::clipboard()->setText(names.join("\n"));
    }
    if (let_through != nullptr && box.clickedButton() == let_through) Share(true);
  }

  // Publishes a name the person typed, into the inward folder just saved.
  void SaveName() {
    if (name_->isModified())
      context_.change_identity({.name = name_->text().trimmed().toStdString()});
    name_->setModified(false);
  }

  // A recording level only for a source of the program's choosing; with the mixer line
  // the person sets levels in the desktop's own mixer.
  void UpdateControls() {
    const bool mixer_line = sources_->currentIndex() == 0;
    input_level_->setVisible(!mixer_line);
    mixer_->setVisible(mixer_line);
  }

  const SettingsContext& context_;
  DeviceList* output_devices_;
  LDBEdit* output_level_;
  DeviceList* input_devices_;
  QComboBox* sources_;
  std::optional<int> unshown_source_line_;
  LDBEdit* input_level_;
  QPushButton* mixer_;
  QLineEdit* folder_;
  QRadioButton* for_everyone_;
  QRadioButton* for_me_;
  QLineEdit* name_;
  QCheckBox* start_at_login_;
  bool folder_browsed_ = false;
};

}  // namespace

SettingsPage* NewGeneralPage(const SettingsContext& context) { return new GeneralPage(context); }

}  // namespace parlavox
