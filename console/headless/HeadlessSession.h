// Runs the console without screens, from the plug-in's start to its end.
#pragma once

namespace console {

struct TConsoleSettings;

// Sets up the host, starts the plug-in, runs the script and stops the plug-in. Returns the exit
// status of the process. Main thread, with an application object.
int RunHeadless(const TConsoleSettings& settings);

} // namespace console
