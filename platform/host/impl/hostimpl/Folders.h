// Chooses the console's folders.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace hostimpl {

// Puts all folders of TSystemSettingsProxy below `dataFolder`, an absolute path, and creates that
// one folder, readable for its owner only. False if it cannot be created; the setting is changed
// all the same. From any thread.
CONSOLEHOST_EXPORT bool SetDataFolder(const QString& dataFolder);

// Without a trailing separator. From any thread.
CONSOLEHOST_EXPORT QString DataFolder();

// Creates the folders that TSystemSettingsProxy names, where they are missing. False if one cannot
// be; `errorText` names it. Blocking.
CONSOLEHOST_EXPORT bool CreateFolders(QString& errorText);

// The folders that archives are unpacked into.
CONSOLEHOST_EXPORT QStringList DownloadFolders();

} // namespace hostimpl
