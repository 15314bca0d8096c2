#ifndef PARLAVOX_UI_PICTURES_H_
#define PARLAVOX_UI_PICTURES_H_

#include <QIcon>
#include <QPixmap>

namespace parlavox {

// The program's pictures, drawn as SVG, so that they are sharp at any scale.

// The program (the window's icons).
QIcon ProgramIcon();
// The tray icon while the intercom is on, and while it is off.
QIcon TrayPicture(bool on);
// A user in the list who is on, or off.
QIcon UserPicture(bool on);
// The tile the meter's bar is made of below 0 dB (green) and above it (red), for a
// screen with `device_pixel_ratio` device pixels to a logical one.
QPixmap MeterTile(bool red, qreal device_pixel_ratio);
// The splash window's picture.
QPixmap SplashPicture(qreal device_pixel_ratio);

}  // namespace parlavox

#endif  // PARLAVOX_UI_PICTURES_H_
