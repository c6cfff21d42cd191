// The configuration manager: items kept in one file.
#pragma once

#include "host/ConfigManager.h"

#include <QtCore/QHash>
#include <QtCore/QMap>
#include <QtCore/QMutex>

#include <memory>

namespace hostimpl {

class TSealedItems;

// Items that the host keeps for itself.
enum EHostItem : int {
    eUserLogLevelItem = 101,   // int: entries up to this level are wanted
    eEthernetNameItem = 102,   // string: the wired network interface
    eConsoleStringItem = 103,  // string: what the console calls itself
    eDeniedControlsItem = 104, // list of int: controls that the operator may not use
};

// A JSON file, readable for its owner only. Credentials are sealed in it, by the key in a file of
// its own beside it ("console.json.key"); which items those are is a table, SealedItems.h. Each
// change of a persistent item is on the disk before SetItem() returns.
//
// From any thread; reading never waits for the disk. Errors: an item that cannot be written stays
// valid in memory, is warned of, and is written with the next item; the user log is told once until
// writing succeeds. A file that cannot be understood is kept under another name and the store
// starts empty. A sealed item that does not open reads as not set; one that cannot be sealed stays
// in memory and is not written in any other form.
class CONSOLEHOST_EXPORT TConfigStore final : public ConfigManager
{
public:
    // Keeps its items in memory until Open() was called.
    TConfigStore();
    ~TConfigStore() override;

    // The store behind ConfigManager::Instance().
    static TConfigStore& Process();

    // Forgets all items and reads those of `path`, which need not exist; its folder must. Returns
    // what went wrong, or an empty text. The store is usable in either case.
    QString Open(const QString& path);
    void SetUserLogAccessor(const UserLogAccessorPtr& accessor);

    QVariant GetItem(int itemKey) const override;
    void SetItem(int itemKey, const QVariant& value, bool persist) override;
    bool IsUserLogEnabled(int source, int target, int category, int level) const override;
    UserLogAccessorPtr GetUserLogAccessor() override;

private:
    QString Load(const QString& path);
    QString PutAside(const QString& path, const QString& errorText);
    QString OpenSealed(const QString& path, const QMap<int, QByteArray>& sealed);
    QString WriteThrough();

    // Taken before m_mutex. Guards m_path, m_persisted, m_sealed and m_isUnsaved, and is held while
    // the file is written.
    QMutex m_fileMutex;
    QString m_path;
    QMap<int, QVariant> m_persisted; // those that are sealed in the file, too
    std::unique_ptr<TSealedItems> m_sealed;
    bool m_isUnsaved = false;

    mutable QMutex m_mutex; // guards m_items and m_userLog
    QHash<int, QVariant> m_items;
    UserLogAccessorPtr m_userLog;
};

} // namespace hostimpl
