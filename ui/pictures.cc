#include "ui/pictures.h"

#include <QPainter>
#include <QSvgRenderer>

// The pictures are compiled into a library, so the program has to ask for them.
static void LoadPictures() { Q_INIT_RESOURCE(pictures); }

namespace parlavox {
namespace {

QString PicturePath(const QString& name) {
  static const bool loaded = (LoadPictures(), true);
  (void)loaded;
  return ":/pictures/pictures/" + name;
}

// The picture at `name` drawn at its own size in logical pixels.
QPixmap Render(const QString& name, qreal device_pixel_ratio) {
  QSvgRenderer renderer(PicturePath(name));
  const QSize size = renderer.defaultSize();
  QPixmap pixmap(size * device_pixel_ratio);
  pixmap.fill(Qt::transparent);
  QPainter painter(&pixmap);
  renderer.render(&painter);
  pixmap.setDevicePixelRatio(device_pixel_ratio);
  return pixmap;
}

QIcon Icon(const QString& name) { return QIcon(PicturePath(name)); }

}  // namespace

QIcon ProgramIcon() { return Icon("parlavox.svg"); }
QIcon TrayPicture(bool on) { return Icon(on ? "tray_on.svg" : "tray_off.svg"); }
QIcon UserPicture(bool on) {
  // On the selection's highlight the person shows light, the state's dot outlined dark.
  QIcon icon = Icon(on ? "user_on.svg" : "user_off.svg");
  icon.addFile(PicturePath(on ? "user_on_selected.svg" : "user_off_selected.svg"), QSize(),
               QIcon::Selected);
  return icon;
}

QPixmap MeterTile(bool red, qreal device_pixel_ratio) {
  return Render(red ? "meter_red.svg" : "meter_green.svg", device_pixel_ratio);
}

QPixmap SplashPicture(qreal device_pixel_ratio) { return Render("splash.svg", device_pixel_ratio); }

}  // namespace parlavox
