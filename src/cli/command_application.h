#pragma once

#include <QCoreApplication>

#include <memory>

namespace quillon {

// A Qt application object for a command that needs one: a GUI one to draw (offscreen when there
// is no display, so it works on a headless machine), else a core one for the bus. Nothing when
// one exists already. Qt's own remarks about the session (a missing runtime folder on a bare
// machine, say) are kept out of the command's output.
std::unique_ptr<QCoreApplication> makeCommandApplication(bool needsGui);

// The core one alone. It lives in a file of its own, so that the commands that need no GUI link
// none of Qt's GUI libraries and start quickly.
std::unique_ptr<QCoreApplication> makeCoreApplication();

// What both hand to Qt: the program's name as the only argument, and no message output.
int& commandArgc();
char** commandArgv();
void silenceQtMessages();

} // namespace quillon
