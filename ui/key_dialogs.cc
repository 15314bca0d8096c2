#include "ui/key_dialogs.h"

#include "words/hot_key_commands.h"

#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include "ui/qt_virtual_keys.h"
#include "words/virtual_keys.h"

namespace parlavox {
namespace {

// Sees every key pressed in the dialog before its button does.
class PressKeyDialog : public QDialog {
 public:
  PressKeyDialog(QWidget* owner, KeyAssignments& keys, int index)
      : QDialog(owner), keys_(keys), index_(index) {
    setWindowTitle("Press Key");
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(new QLabel("Press key or key combination."));
    auto* cancel = new QPushButton("Cancel");
    cancel->setAutoDefault(false);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    layout->addWidget(cancel, 0, Qt::AlignCenter);
    layout->setSizeConstraint(QLayout::SetFixedSize);
    cancel->installEventFilter(this);
  }

 protected:
  bool eventFilter(QObject*, QEvent* event) override {
    if (event->type() != QEvent::KeyPress) return false;
    return TakeKey(static_cast<QKeyEvent*>(event));
  }
  void keyPressEvent(QKeyEvent* event) override {
    if (!TakeKey(event)) QDialog::keyPressEvent(event);
  }

 private:
  // Whether the key was taken; Esc is not, so that it cancels.
  bool TakeKey(QKeyEvent* event) {
    const std::optional<uint32_t> key = VirtualKeyOf(*event);
    if (!key || *key == vk::kEscape) return false;
    if (*key == vk::kShift || *key == vk::kControl || *key == vk::kMenu) return true;
    if (*key == vk::kReturn) return true;  // swallowed: it neither closes nor is assigned
    const Qt::KeyboardModifiers held = event->modifiers();
    const uint32_t modifiers = (held & Qt::ControlModifier ? modifier::kControl : 0) |
                               (held & Qt::ShiftModifier ? modifier::kShift : 0) |
                               (held & Qt::AltModifier ? modifier::kAlt : 0);
    keys_.SetKey(index_, *key, modifiers);
    accept();
    return true;
  }

  KeyAssignments& keys_;
  int index_;
};

}  // namespace

void RunPressKeyDialog(QWidget* owner, KeyAssignments& keys, int index) {
  PressKeyDialog(owner, keys, index).exec();
}

bool RunSelectCommandDialog(QWidget* owner, KeyAssignments& keys, const UsersCache& users,
                            int index) {
  QDialog dialog(owner);
  dialog.setWindowTitle("Select Command");
  auto* key = new QLabel(QString::fromStdString(keys.KeyText(index)));
  auto* change_key = new QPushButton("Change Key");
  QObject::connect(change_key, &QPushButton::clicked, &dialog, [&] {
    RunPressKeyDialog(&dialog, keys, index);
    key->setText(QString::fromStdString(keys.KeyText(index)));
  });
  auto* commands = new QComboBox;
  for (int32_t command = hot_key_command::kOpen; command <= hot_key_command::kLastFixed;
       ++command) {
    commands->addItem(hot_key_command::FixedText(command), command);
  }
  const int users_count = users.Count();
  for (int user = 0; user < users_count; ++user) {
    const int32_t command = hot_key_command::kCallUser + user;
    commands->addItem(QString::fromStdString(keys.CommandText(command)), command);
  }
  commands->setCurrentIndex(commands->findData(keys.Command(index)));
  // The list has the focus when the dialog shows: it is what the person came for.
  QTimer::singleShot(0, commands, [commands] { commands->setFocus(); });
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
  QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
  dialog.setMinimumWidth(320);
  auto* layout = new QVBoxLayout(&dialog);
  layout->addWidget(key);
  layout->addWidget(change_key, 0, Qt::AlignLeft);
  layout->addWidget(commands);
  layout->addWidget(buttons);
  if (dialog.exec() != QDialog::Accepted) return false;
  const QVariant chosen = commands->currentData();
  keys.SetCommand(index, chosen.isValid() ? chosen.toInt() : -1);
  return true;
}

}  // namespace parlavox
