// The configuration manager that stores its items in one file.
#pragma once

#include "host/ConfigManager.h"

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QMutex>

#include <memory>

namespace hostimpl {

class TSealedItems;

// The host framework's own items.
enum EHostItem : int {
    eUserLogLevelItem = 101,   // int: the user log takes entries up to this level
    eEthernetNameItem = 102,   // string: the wired network interface
    eConsoleStringItem = 103,  // string: the console's name
    eDeniedControlsItem = 104, // list of int: controls that the operator may not use
};

// A JSON file, readable for its owner only. Credentials are sealed, that is encrypted, with a key
// in a second file ("console.json.key"). SealedItems.h lists the sealed items. Each change of a
// persistent item is on the disk before SetItem() returns.
//
// From any thread; reading never waits for the disk.
//
// Errors: an item that cannot be written stays valid in memory, causes a warning, and is written
// with the next item. The user log gets one entry until writing succeeds again. An invalid file is
// kept under another name, and the store starts empty. A sealed item that cannot be decrypted reads
// as not set. An item that cannot be sealed stays in memory and is not written in any other form.
class CONSOLEHOST_EXPORT TConfigStore final : public ConfigManager
{
public:
    // Before Open() the items are only in memory.
    TConfigStore();
    ~TConfigStore() override;

    // The store behind ConfigManager::Instance().
    static TConfigStore& Process();

    // Forgets all items and reads the items of the file `path`. The file may be missing, its folder
    // may not. Returns the problems, or an empty text. The store is usable in either case.
    QString Open(const QString& path);
    void SetUserLogAccessor(const UserLogAccessorPtr& accessor);

    // Writes the items again if the last attempt failed. Returns the errno of the failure, or 0 if
    // the file has all items but the sealed items. Blocks while the disk works.
    int Flush();
    // The same for all items. ENOKEY if only the sealing of an item fails.
    int FlushAll();

    QVariant GetItem(int itemKey) const override;
    void SetItem(int itemKey, const QVariant& value, bool persist) override;
    bool IsUserLogEnabled(int source, int target, int category, int level) const override;
    UserLogAccessorPtr GetUserLogAccessor() override;

private:
    QString Load(const QString& path);
    QString PutAside(const QString& path, const QString& errorText);
    QString OpenSealed(const QString& path, const QMap<int, QByteArray>& sealed);
    QString WriteThrough();

    // Taken before m_mutex. Guards m_path, m_persisted, m_sealed, m_isUnsaved and m_fileError, and
    // is held while the file is written.
    QMutex m_fileMutex;
    QString m_path;
    QMap<int, QVariant> m_persisted; // with the items that are sealed in the file
    std::unique_ptr<TSealedItems> m_sealed;
    bool m_isUnsaved = false;
    int m_fileError = 0; // errno of the last attempt to write the file

    mutable QMutex m_mutex; // guards m_items and m_userLog
    QHash<int, QVariant> m_items;
    UserLogAccessorPtr m_userLog;
};

} // namespace hostimpl
