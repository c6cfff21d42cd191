// Chooses, creates and syncs the console's folders.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

namespace hostimpl {

// Puts all folders of TSystemSettingsProxy below `dataFolder`, an absolute path. Creates only
// `dataFolder` itself, readable for its owner only. If `dataFolder` cannot be created, the setting
// is changed nevertheless and false is returned. From any thread.
CONSOLEHOST_EXPORT bool SetDataFolder(const QString& dataFolder);

// Without a trailing separator. From any thread.
CONSOLEHOST_EXPORT QString DataFolder();

// Creates the missing folders of TSystemSettingsProxy. If a folder cannot be created, false is
// returned and `errorText` names the folder. Blocking.
CONSOLEHOST_EXPORT bool CreateFolders(QString& errorText);

// The folders into which archives are unpacked.
CONSOLEHOST_EXPORT QStringList DownloadFolders();

// Syncs the entries of a folder. Returns true on file systems that cannot sync a folder. On failure
// returns false with errno set. From any thread. Blocking.
CONSOLEHOST_EXPORT bool SyncFolder(const QString& path);

} // namespace hostimpl
