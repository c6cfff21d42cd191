// Prepares the framework in one call.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>

namespace hostimpl {

// Puts the console's data below `dataFolder`: creates the folders, opens the configuration
// ("console.json") and the user log ("logs/user.log"), and finishes or undoes an unpacking that an
// earlier run did not complete. The last step has a thread of its own; if it takes longer than 2 s,
// it goes on after the return. Call it once, on the main thread, before any plug-in is loaded. If
// the console cannot use `dataFolder`, false is returned and `errorText` tells the reason.
CONSOLEHOST_EXPORT bool SetUpHost(const QString& dataFolder, QString& errorText);

} // namespace hostimpl
