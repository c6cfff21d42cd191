// File operations that the host offers to all components.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>

// From any thread; blocking.
class CONSOLEHOST_EXPORT TFileSystemHelper
{
public:
    TFileSystemHelper() = delete;

    // Unpacks `archive` into the existing folder `destinationFolder`. Folders are merged. A file of
    // the same name is replaced as a whole. If Unzip() returns false, nothing in the folder has
    // changed and `errorText` tells the reason. Unzip() refuses encrypted archives, archives beyond
    // the limits on entries, size and ratio, and entries that are absolute, contain "..", or are
    // links or devices.
    static bool Unzip(const QString& archive, const QString& destinationFolder, QString& errorText);

    // Deletes the files of a folder, with `recursive` also its subfolders, and with
    // `deleteFolderItself` the folder itself. Links are deleted, never followed. Returns false if
    // something could not be deleted.
    static bool DeleteDirGeneric(const QString& path, bool recursive, bool deleteFolderItself);
};
