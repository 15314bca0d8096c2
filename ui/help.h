#ifndef PARLAVOX_UI_HELP_H_
#define PARLAVOX_UI_HELP_H_

#include <QObject>
#include <QUrl>
#include <functional>
#include <string>

namespace parlavox {

// Topics of the help that the program opens by number.
namespace help {
inline constexpr int kContents = 0;
inline constexpr int kAfterInstalling = 101;
inline constexpr int kGeneralPage = 103;
inline constexpr int kUsersPage = 104;
inline constexpr int kKeysPage = 105;
}  // namespace help

// The help file: "parlavox-help.html" beside the program, else the one installed
// with the system's documentation; empty when there is none.
std::string HelpFilePath();

// Opens `url` in the person's web browser. `failed` is called where nothing could open
// it: at once, or once the opener ends with an error soon after it started (xdg-open on
// a desktop without a browser), on this thread and only while `context` lives.
void OpenInBrowser(const QUrl& url, QObject* context, std::function<void()> failed);

// Opens the help at `topic` as OpenInBrowser does; where there is no help file, `failed`
// is called at once.
void OpenHelp(int topic, QObject* context, std::function<void()> failed);

}  // namespace parlavox

#endif  // PARLAVOX_UI_HELP_H_
