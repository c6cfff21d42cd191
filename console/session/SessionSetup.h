// Prepares the process before the plug-in is loaded.
#pragma once

namespace console {

struct TConsoleSettings;

// Sets up the host framework in the data folder, and configures the operator's credentials. From
// then on, the host framework's results of unpacking go to the SDK, which reports them. Returns
// eExitSuccess; on a failure it prints the reason and returns the exit status of the process.
int SetUpSession(const TConsoleSettings& settings);

} // namespace console
