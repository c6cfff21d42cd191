// A run of the console without screens, from the plug-in's start to its end.
#pragma once

#include "console/ConsoleSettings.h"

namespace console {

enum EExitStatus : int {
    eExitSuccess = 0,
    eExitFailed = 1,
    eExitUsage = 2,
    eExitPlugin = 3,
    eExitSignal = 128, // plus the signal's number
};

// Sets up the host, starts the plug-in, runs the script and stops the plug-in again. Returns the
// process's exit status. Main thread, with an application object.
int RunHeadless(const TConsoleSettings& settings);

} // namespace console
