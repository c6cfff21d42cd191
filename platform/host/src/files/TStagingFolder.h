// The hidden folder in which an archive is unpacked before its folder is moved into place.
#pragma once

#include "files/Posix.h"

#include <QtCore/QByteArray>
#include <QtCore/QSet>
#include <QtCore/QVector>

namespace hostimpl {

constexpr char STAGING_NAME[] = ".console-unpacking";

// The folder lies inside the destination, so that the unpacked folder can be renamed.
// Only this class creates files in the folder, with checked names; therefore the folder holds no
// links. One thread, under the destination's lock. Paths are relative, in UTF-8.
class TStagingFolder
{
public:
    // `destination` is an open folder and must outlive this object.
    explicit TStagingFolder(int destination) : m_destination(destination) {}

    bool Create(QString& errorText);

    bool AddFolder(const QByteArray& path, QString& errorText);
    // Creates the file's folder and opens the new file for writing. Invalid on failure.
    TDescriptor AddFile(const QByteArray& path, QString& errorText);
    // Syncs the added files and folders.
    bool Sync(QString& errorText) const;

    // The path of the unpacked folder below Descriptor(). If all that was added is one folder of
    // the given name, the path leads to that folder.
    QByteArray Unpacked(const QByteArray& wrapperName) const;
    bool HasFiles() const { return m_fileCount > 0; }
    int Descriptor() const { return m_folder.Get(); }

private:
    bool SyncEach() const;

    int m_destination;
    TDescriptor m_folder;
    TDescriptor m_staged;
    QSet<QByteArray> m_folders;
    QVector<QByteArray> m_files; // at most MOST_SYNCED_ONE_BY_ONE
    int m_fileCount = 0;
};

// Removes the staging folder, or any entry of its name, from a destination. Returns false if
// something could not be removed.
bool RemoveStaging(const QString& destinationFolder);

} // namespace hostimpl
