// The hidden folder that an archive is unpacked in before it comes to its place.
#pragma once

#include "files/Posix.h"

#include <QtCore/QByteArray>
#include <QtCore/QSet>
#include <QtCore/QVector>

namespace hostimpl {

constexpr char STAGING_NAME[] = ".console-unpacking";
constexpr char STAGED_NAME[] = "new";   // below it what was unpacked
constexpr char REPLACED_NAME[] = "old"; // below it the files that were replaced, by number

// Lies inside the destination, so that what was unpacked can be renamed into place. Everything in
// it was created by this class with names that were checked, hence it holds no links. One thread,
// under the destination's lock. Paths are relative, in UTF-8.
class TStagingFolder
{
public:
    // `destination` is an open folder; it must outlive this.
    explicit TStagingFolder(int destination) : m_destination(destination) {}

    bool Create(QString& errorText);
    // Opens the one that an earlier run left; false if there is none.
    bool OpenLeftover();

    bool AddFolder(const QByteArray& path, QString& errorText);
    // Opens a new file for writing; its folder is created. Invalid on an error.
    TDescriptor AddFile(const QByteArray& path, QString& errorText);
    // Makes what was added durable.
    bool Sync(QString& errorText) const;

    // The staging folder, and in it the folders of STAGED_NAME and REPLACED_NAME.
    int Descriptor() const { return m_folder.Get(); }
    int Staged() const { return m_staged.Get(); }
    int Replaced() const { return m_replaced.Get(); }

private:
    bool OpenParts();
    bool SyncEach() const;

    int m_destination;
    TDescriptor m_folder;
    TDescriptor m_staged;
    TDescriptor m_replaced;
    QSet<QByteArray> m_folders;
    QVector<QByteArray> m_files; // no more than are synced one by one
    int m_fileCount = 0;
};

// Removes the staging folder, or whatever has its name, from a destination. False if something is
// left.
bool RemoveStaging(const QString& destinationFolder);

} // namespace hostimpl
