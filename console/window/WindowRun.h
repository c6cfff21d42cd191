// A run of the console with its window, from the plug-in's start to its end.
#pragma once

#include "console/session/ConsoleSettings.h"

#include <QtCore/QCoreApplication>

#include <functional>
#include <memory>

namespace console {

class TWindowSession;

// Whether this build has a window at all; without, the other two are not to be called.
bool HasWindow();

// The application object that a window needs. `argumentCount` must outlive it.
std::unique_ptr<QCoreApplication> MakeWindowApplication(int& argumentCount, char** arguments);

// Sets up the host, opens the window, starts the plug-in, and takes everything down again when the
// operator closes the window. Returns the process's exit status. `onBegun`, if there is one, gets
// the session when its window is shown.
int RunWindow(const TConsoleSettings& settings,
              const std::function<void(TWindowSession&)>& onBegun = {});

} // namespace console
