#include "ui/help.h"

#include <QCoreApplication>
#include <QDesktopServices>
#include <QFileInfo>
#include <QSocketNotifier>
#include <chrono>
#include <memory>

#include "util/programs.h"

namespace parlavox {
namespace {

constexpr const char* kHelpName = "parlavox-help.html";
constexpr const char* kInstalledHelp = "/usr/share/doc/parlavox/parlavox-help.html";
// Past this, an opener that ends with an error did open the help: its browser failed later.
constexpr std::chrono::seconds kOpenerTrusted{10};

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
  auto opener = std::make_shared<WatchedProgram>(
      std::vector<std::string>{"xdg-open", url.toEncoded().toStdString()});
  if (!opener->started()) {
    if (!QDesktopServices::openUrl(url)) failed();
    return;
  }
  if (opener->end_descriptor() < 0) return;  // a kernel older than pidfds: not watched
  // xdg-open may stay until the browser it started ends; an error by then is not ours.
  const auto started = std::chrono::steady_clock::now();
  auto* end = new QSocketNotifier(opener->end_descriptor(), QSocketNotifier::Read, context);
  QObject::connect(end, &QSocketNotifier::activated, end, [=] {
    end->setEnabled(false);
    end->deleteLater();
    if (opener->Wait() != 0 && std::chrono::steady_clock::now() - started < kOpenerTrusted) {
      failed();
    }
  });
}

void OpenHelp(int topic, QObject* context, std::function<void()> failed) {
  const std::string path = HelpFilePath();
  if (path.empty()) return failed();
  QUrl url = QUrl::fromLocalFile(QString::fromStdString(path));
  if (topic != help::kContents) url.setFragment(QString("topic-%1").arg(topic));
  OpenInBrowser(url, context, std::move(failed));
}

}  // namespace parlavox
