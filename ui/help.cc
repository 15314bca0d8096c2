#include "ui/help.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QUrl>

#include "util/programs.h"

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

bool OpenHelp(int topic) {
  const std::string path = HelpFilePath();
  if (path.empty()) return false;
  QUrl url = QUrl::fromLocalFile(QString::fromStdString(path));
  if (topic != help::kContents) url.setFragment(QString("topic-%1").arg(topic));
  // xdg-open opens it as Qt would, but without this program's descriptors; Qt's own way
  // stays for a desktop without it.
  return StartProgram({"xdg-open", url.toEncoded().toStdString()}) ||
         QDesktopServices::openUrl(url);
}

}  // namespace parlavox
