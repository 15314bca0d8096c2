#ifndef PARLAVOX_UI_SPLASH_SCREEN_H_
#define PARLAVOX_UI_SPLASH_SCREEN_H_

#include <QPointer>
#include <QWidget>

namespace parlavox {

// Shows the program's picture and name in a small frameless window in the middle of
// the screen, over `owner`, for 7 seconds or until it is clicked. At most one shows at
// a time: showing it again replaces the one that shows.
class LSplashScreen {
 public:
  void Show(QWidget* owner);
  void Close();

 private:
  QPointer<QWidget> window_;
};

}  // namespace parlavox

#endif  // PARLAVOX_UI_SPLASH_SCREEN_H_
