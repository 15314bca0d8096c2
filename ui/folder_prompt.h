#ifndef PARLAVOX_UI_FOLDER_PROMPT_H_
#define PARLAVOX_UI_FOLDER_PROMPT_H_

#include <QString>
#include <QWidget>
#include <optional>

namespace parlavox {

// Asks for a folder under `title`: its path may be typed (a share that is not mounted
// yet is fine: nothing is checked) or browsed for. nullopt when cancelled.
std::optional<QString> AskForFolder(QWidget* owner, const QString& title, const QString& start);

// The desktop's folder browser under `title`; nullopt when cancelled.
std::optional<QString> BrowseForFolder(QWidget* owner, const QString& title, const QString& start);

}  // namespace parlavox

#endif  // PARLAVOX_UI_FOLDER_PROMPT_H_
