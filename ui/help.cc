#include "ui/help.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileInfo>

#include "ui/watched_start.h"

namespace parlavox {
namespace {

constexpr const char* kHelpName = "parlavox-help.html";
constexpr const char* kInstalledHelp = "/usr/share/doc/parlavox/parlavox-help.html";

}  // namespace

std::string HelpFilePath() {
  const QString beside = QCoreApplication::applicationDirPath() + "/" + kHelpName;
  if (QFileInfo::exists(beside)) return beside.toStdString();
  if (QFileInfo::exists(kInstalledHelp)) return kInstalledHelp;
  return "";
}

void OpenInBrowser(const QUrl& url, QObject* context, std::function<void()> failed) {
  // xdg-open opens it as Qt would, but without this program's descriptors; Qt's own way
  // stays for a desktop without it.
  if (!StartAndWatch({"xdg-open", url.toEncoded().toStdString()}, context, failed) &&
      !QDesktopServices::openUrl(url)) {
    failed();
  }
}

void OpenHelp(int topic, QObject* context, std::function<void()> failed) {
  const std::string path = HelpFilePath();
  if (path.empty()) return failed();
  QUrl url = QUrl::fromLocalFile(QString::fromStdString(path));
  if (topic != help::kContents) url.setFragment(QString("topic-%1").arg(topic));
  OpenInBrowser(url, context, std::move(failed));
}

}  // namespace parlavox
