#ifndef PARLAVOX_UI_WATCHED_START_H_
#define PARLAVOX_UI_WATCHED_START_H_

#include <QObject>
#include <functional>
#include <string>
#include <vector>

namespace parlavox {

// Starts `argv` for the person (a browser, a mixer) as StartProgram does; false when it
// could not be started. Where it ends with an error soon after it started (xdg-open
// without a browser, a desktop's settings outside that desktop), `failed` is called, on
// this thread and only while `context` lives. An error later, once the program has been
// in use, is not its starter's to tell.
bool StartAndWatch(const std::vector<std::string>& argv, QObject* context,
                   std::function<void()> failed);

}  // namespace parlavox

#endif  // PARLAVOX_UI_WATCHED_START_H_
