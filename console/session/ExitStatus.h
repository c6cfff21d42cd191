// The exit statuses of the console's process.
#pragma once

#include <QtCore/QString>

namespace console {

enum EExitStatus : int {
    eExitSuccess = 0,
    eExitFailed = 1,
    eExitUsage = 2,
    eExitPlugin = 3,
    eExitSignal = 128, // plus the signal's number
};

// Prints `text` to the standard error and returns `exitStatus`.
int PrintError(const QString& text, int exitStatus);

} // namespace console
