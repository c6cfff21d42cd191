// Runs the console with its window, from the plug-in's start to its end.
#pragma once

#include "console/session/ConsoleSettings.h"

#include <QtCore/QCoreApplication>

#include <functional>
#include <memory>

namespace console {

class TWindowSession;

// Whether this build has a window. If not, do not call the other two functions.
bool HasWindow();

// Creates the application object for a window. `argumentCount` must outlive it.
std::unique_ptr<QCoreApplication> MakeWindowApplication(int& argumentCount, char** arguments);

// Sets up the host, opens the window and starts the plug-in. When the operator closes the window,
// it ends everything and returns the exit status of the process, or TRestart::wanted. `onBegun` may
// be empty; it is called with the session when the window is shown.
int RunWindow(const TConsoleSettings& settings,
              const std::function<void(TWindowSession&)>& onBegun = {});

} // namespace console
