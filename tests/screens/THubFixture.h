// The set-up of the screens: a hub, empty folders, and a configuration.
#pragma once

#include "support/TTempDataFolder.h"
#include "tests/fakes/SignalLog.h"

#include "core/TKelvoInterface.h"
#include "hostimpl/TConfigStore.h"
#include "hostimpl/TUserLevels.h"

#include <QtCore/QFile>

// The hub is the process's hub during the fixture's lifetime. `log` records its signals.
class THubFixture
{
public:
    THubFixture() : levels(hostimpl::TConfigStore::Process())
    {
        qRegisterMetaType<QList<KelvoFileTransferErrorDetails>>(
            "KelvoFileTransferErrorDetailsList");
        qRegisterMetaType<KelvoFileInfoList>("KelvoFileInfoList");
        // The configuration is empty, and the test can write to it.
        hostimpl::TConfigStore::Process().Open(ConfigurationPath());
        KelvoInterface = new TKelvoInterface;
        log.Watch(KelvoInterface);
    }
    ~THubFixture() { EndHub(); }
    THubFixture(const THubFixture&) = delete;
    THubFixture& operator=(const THubFixture&) = delete;

    TKelvoInterface& Hub() { return *KelvoInterface; }
    void EndHub()
    {
        delete KelvoInterface;
        KelvoInterface = nullptr;
    }

    QString ConfigurationPath() const { return folder.Path(QStringLiteral("console.json")); }
    static QString Configured(int itemKey)
    {
        return ConfigManager::Instance().GetItem(itemKey).toString();
    }
    static void Configure(const QString& name, const QString& password)
    {
        ConfigManager::Instance().SetItem(24289, name, false);
        ConfigManager::Instance().SetItem(24290, password, false);
    }

    kelvo::test::TTempDataFolder folder;
    hostimpl::TUserLevels levels;
    fakes::SignalLog log;
};

inline KelvoFileInfoList ListingOf(const QStringList& names)
{
    KelvoFileInfoList list;
    for (const QString& name : names) {
        list.fileIds << list.fileIds.size() + 100;
        list.fileNames << name;
    }
    return list;
}

inline bool WriteFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write("content") == 7;
}
