// File operations that the host offers to all components.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>

// From any thread; blocking.
class CONSOLEHOST_EXPORT TFileSystemHelper
{
public:
    TFileSystemHelper() = delete;

    // Unpacks `archive` into the existing folder `destinationFolder`: folders merge, a file of the
    // same name is replaced whole. All or nothing: on false nothing in the folder has changed, and
    // `errorText` says why. Refused are entries that are absolute, contain "..", are links or
    // devices, encrypted archives, and archives beyond the limits on entries, size and ratio.
    static bool Unzip(const QString& archive, const QString& destinationFolder, QString& errorText);

    // Deletes a folder: its content, also below subfolders if `recursive`, and the folder itself if
    // `deleteFolderItself`. Links are deleted, never followed. False when something is left.
    static bool DeleteDirGeneric(const QString& path, bool recursive, bool deleteFolderItself);
};
