// A worker with farm, hub and console, all on the test's thread.
#pragma once

#include "support/TTempDataFolder.h"
#include "tests/fakes/FakeKesdk.h"
#include "tests/fakes/SignalLog.h"
#include "tests/worker/TOpenWorker.h"

#include "core/TKelvoInterface.h"
#include "hostimpl/TConfigStore.h"
#include "hostimpl/TFeatures.h"
#include "hostimpl/TFedGPSCoordinator.h"

#include <QtCore/QPointer>

#include <memory>

// The farm has the user "olga" (password "secret") and the seven projects, with her inbox in each.
// The console's folders are empty, and its configuration holds her credentials.
//
// After Start() the worker is initialised on the calling thread: requests to the hub run in the
// worker before they return. Only the SDK's notifications wait for the event loop.
class TWorkerFixture
{
public:
    enum class ESession { eLoggedIn, eLoggedOut }; // of the SDK and the hub

    TWorkerFixture();
    ~TWorkerFixture();

    // Creates the hub and the worker. Does not initialise the worker.
    void Make();
    void Start(ESession session = ESession::eLoggedIn);
    // Ends the worker, which deletes the hub.
    void Finish();

    // Calls a slot of the worker by its name.
    template <typename... TArguments>
    void Call(const char* slot, const TArguments&... arguments)
    {
        QMetaObject::invokeMethod(worker.get(), slot, Qt::DirectConnection, arguments...);
    }
    // Delivers the SDK's notifications and runs the slots that follow.
    void DeliverNotifications();

    fakes::FakeKesdk& Sdk() { return fakes::FakeKesdk::Instance(); }
    fakes::FakeFarm& Farm() { return Sdk().Farm(); }
    fakes::FakeScript& Script() { return Sdk().Script(); }

    // The id of olga's inbox.
    std::int64_t Inbox(EKelvoProjects project);
    static QString UploadFolder(EKelvoProjects project);
    static QString DownloadFolder(EKelvoProjects project);
    static QString TempFolder();
    // Writes a local file. The folder must exist.
    static void WriteFile(const QString& path, const QByteArray& content);
    static QByteArray ReadFile(const QString& path);

    kelvo::test::TTempDataFolder folder;
    hostimpl::TFedGPSCoordinator gps;
    hostimpl::TFeatures features;
    std::int64_t userId = 0;
    fakes::SignalLog workerLog; // what the worker emits
    fakes::SignalLog hubLog;    // what the hub emits
    std::unique_ptr<TOpenWorker> worker;
    QPointer<TKelvoInterface> hub;
};

// The configuration's items with the credentials.
constexpr int USER_NAME_ITEM = 24289;
constexpr int PASSWORD_ITEM = 24290;

// The operator's credentials.
void SetCredentials(const QVariant& user, const QVariant& password);

// Names separated by bars; a list of one text.
QStringList List(const char* text);
QStringList OneText(const char* text);

// "name: text" of each record.
QStringList Records(const KelvoFileTransferErrorDetailsList& errors);
