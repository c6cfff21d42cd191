// Makes the framework ready in one call.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>

namespace hostimpl {

// Puts the console's data below `dataFolder`: creates its folders, opens the configuration
// ("console.json") and the user log ("logs/user.log"), and finishes what a run that was killed left
// half unpacked. Call it once, on the main thread, before any plug-in is loaded. False if the
// console cannot work there; `errorText` says why.
CONSOLEHOST_EXPORT bool SetUpHost(const QString& dataFolder, QString& errorText);

} // namespace hostimpl
