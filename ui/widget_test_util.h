#ifndef PARLAVOX_UI_WIDGET_TEST_UTIL_H_
#define PARLAVOX_UI_WIDGET_TEST_UTIL_H_

// What the in-process window tests share: finding a widget by what it reads, and
// answering a modal dialog once it shows.

#include <QApplication>
#include <QDialog>
#include <QTimer>
#include <QWidget>
#include <functional>

#include <gtest/gtest.h>

namespace parlavox {

// The widget of the kind `Widget` in `owner` whose text is `text`; null where none is.
template <typename Widget>
Widget* Reading(const QWidget* owner, const QString& text) {
  for (Widget* widget : owner->findChildren<Widget*>()) {
    if (widget->text() == text) return widget;
  }
  return nullptr;
}

// The same, where the test can't go on without it.
template <typename Widget>
Widget* Named(const QWidget* owner, const QString& text) {
  Widget* widget = Reading<Widget>(owner, text);
  if (widget == nullptr) ADD_FAILURE() << "no " << text.toStdString();
  return widget;
}

// Does `steps` in the dialog titled `title` once it shows; they must close it.
inline void Answer(const QString& title, std::function<void(QDialog*)> steps) {
  auto* timer = new QTimer;
  QObject::connect(timer, &QTimer::timeout, [timer, title, steps = std::move(steps)] {
    auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr || dialog->windowTitle() != title) return;
    timer->deleteLater();
    timer->stop();
    steps(dialog);
    if (dialog->isVisible()) {  // rather than hang the test
      ADD_FAILURE() << title.toStdString() << " is still open";
      dialog->reject();
    }
  });
  timer->start(10);
}

}  // namespace parlavox

#endif  // PARLAVOX_UI_WIDGET_TEST_UTIL_H_
