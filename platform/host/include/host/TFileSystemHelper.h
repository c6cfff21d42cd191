// File operations that the host offers to all components.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QString>

// From any thread; blocking.
class CONSOLEHOST_EXPORT TFileSystemHelper
{
public:
    TFileSystemHelper() = delete;

    // Unpacks the archive NAME.zip into the folder NAME below the existing folder
    // `destinationFolder`. If the archive holds a single folder NAME, that folder is not repeated.
    // An earlier folder NAME is replaced as a whole; a kill at any time leaves the old or the new
    // folder. The other entries of the destination stay as they are. An archive whose
    // suffix is not exactly ".zip", or that has two suffixes, gives the folder its whole name.
    //
    // If Unzip() returns false, nothing has changed and `errorText` tells the reason. Unzip()
    // refuses damaged and encrypted archives, and archives beyond the limits on entries, size and
    // ratio. It refuses entries that are absolute, contain "..", or are links or devices.
    static bool Unzip(const QString& archive, const QString& destinationFolder, QString& errorText);

    // Deletes the files of a folder, with `recursive` also its subfolders, and with
    // `deleteFolderItself` the folder itself. Links are deleted, never followed. Returns false if
    // something could not be deleted.
    static bool DeleteDirGeneric(const QString& path, bool recursive, bool deleteFolderItself);
};
