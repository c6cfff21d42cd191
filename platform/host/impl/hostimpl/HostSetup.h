// Prepares the framework in one call.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>

namespace hostimpl {

// Puts the console's data below `dataFolder`. Creates the folders, and opens the configuration
// ("console.json") and the user log ("logs/user.log"). Finishes or undoes an unpacking that an
// earlier run did not complete. A separate thread does the last step: after 2 s this function
// returns and the thread continues. Call it once, on the main thread, before any plug-in is loaded.
// If the console cannot use `dataFolder`, false is returned and `errorText` tells the reason.
CONSOLEHOST_EXPORT bool SetUpHost(const QString& dataFolder, QString& errorText);

} // namespace hostimpl
