// The worker's table of connections: each connection exists once, and there are no others.
#include "support/GuiTestMain.h"
#include "tests/fakes/Receivers.h"
#include "tests/worker/TRunningWorker.h"
#include "worker/TKESDKNotificationMgr.h"

#include <QtCore/QMetaMethod>
#include <QtCore/QTimer>
#include <QtTest/QtTest>

#include <vector>

using fakes::FakeOperation;

class tst_WorkerConnections : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void everyRowIsConnectedOnce_data();
    void everyRowIsConnectedOnce();
    void hasNoFurtherConnections();
    void everySignalCallsItsMethodAtOnce_data();
    void everySignalCallsItsMethodAtOnce();
    void everyManagerSignalIsConnectedOnce_data();
    void everyManagerSignalIsConnectedOnce();
    void cleanupRemovesTheManagersConnections();
    void cancellingALoginCallsNothingOfTheSdk();
};

// Declared as in Qt's private header qobject_p.h, which not every console has.
struct QSignalSpyCallbackSet
{
    using BeginCallback = void (*)(QObject* caller, int method, void** arguments);
    using EndCallback = void (*)(QObject* caller, int method);
    BeginCallback signalBegin;
    BeginCallback slotBegin;
    EndCallback signalEnd;
    EndCallback slotEnd;
};
void Q_CORE_EXPORT qt_register_signal_spy_callbacks(QSignalSpyCallbackSet* callbacks);

namespace {

// One row of the table.
struct TRow
{
    const char* sender;
    const char* signal;
    const char* receiver;
    const char* method;
};

constexpr TRow ROWS[] = {
    {"gps", "GPSLost(bool)", "worker", "OnGPSLost(bool)"},
    {"timer", "timeout()", "worker", "OnShareCurrentLocationWithKelvo()"},
    {"hub", "KelvoLoginRequested()", "worker", "OnLoginToKelvo()"},
    {"hub", "KelvoCancelLoginRequested()", "worker", "OnCancelLoginToKelvo()"},
    {"hub", "KelvoLogoutRequested()", "worker", "OnLogoutFromKelvo()"},
    {"hub", "KelvoUploadRequested(int,QStringList)", "worker", "OnUploadToKelvo(int,QStringList)"},
    {"hub", "KelvoDownloadRequested(int,QStringList,KelvoFileInfoList)", "worker",
     "OnDownloadFromKelvo(int,QStringList,KelvoFileInfoList)"},
    {"hub", "KelvoDeleteFilesRequested(int,QStringList,KelvoFileInfoList)", "worker",
     "OnDeleteFromKelvo(int,QStringList,KelvoFileInfoList)"},
    {"worker", "KelvoLoginInProgress()", "hub", "OnLoggingIntoKelvo()"},
    {"worker", "KelvoLoggedIn()", "hub", "OnLoggedIntoKelvo()"},
    {"worker", "KelvoLoggedOut()", "hub", "OnLoggedOutOfKelvo()"},
    {"worker", "KelvoLoginFailed(QString)", "hub", "OnLoginToKelvoFailed(QString)"},
    {"worker", "PostLoginChecksInProgress()", "hub", "OnPostLoginChecksInProgress()"},
    {"worker", "PostLoginChecksComplete()", "hub", "OnPostLoginChecksComplete()"},
    {"worker", "KelvoUserInboxSetupInProgress(int)", "hub", "OnKelvoUserInboxSetupInProgress(int)"},
    {"worker", "KelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList)", "hub",
     "OnKelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList)"},
    {"worker", "KelvoUploadingFile(int,QString)", "hub", "KelvoUploadingFile(int,QString)"},
    {"worker", "KelvoUploadComplete(int,KelvoFileTransferErrorDetailsList)", "hub",
     "OnKelvoUploadComplete(int,KelvoFileTransferErrorDetailsList)"},
    {"worker", "KelvoDownloadingFile(int,QString)", "hub", "KelvoDownloadingFile(int,QString)"},
    {"worker", "KelvoDownloadComplete(int,KelvoFileTransferErrorDetailsList)", "hub",
     "OnKelvoDownloadComplete(int,KelvoFileTransferErrorDetailsList)"},
    {"worker", "NewKelvoProjectFilesList(int,KelvoFileInfoList)", "hub",
     "OnNewKelvoProjectFilesList(int,KelvoFileInfoList)"},
    {"worker", "KelvoDeletingFile(int,QString)", "hub", "KelvoDeletingFile(int,QString)"},
    {"worker", "KelvoDeleteComplete(int,KelvoFileTransferErrorDetailsList)", "hub",
     "OnKelvoDeleteComplete(int,KelvoFileTransferErrorDetailsList)"},
};
static_assert(std::size(ROWS) == 23, "the table has 23 rows");

constexpr TRow MANAGER_ROWS[] = {
    {"manager", "NotLoggedIn()", "worker", "KelvoNotLoggedIn()"},
    {"manager", "LoginInProgress()", "worker", "KelvoLoginInProgress()"},
    {"manager", "LoginSuccessful()", "worker", "KelvoLoginSuccessful()"},
    {"manager", "LoginFailed()", "worker", "OnKelvoLoginFailed()"},
    {"manager", "FileModifiedInUserInbox(long,ulong)", "worker",
     "OnFileModifiedInUserInbox(long,ulong)"},
    {"manager", "FileModifiedInProjectInbox(long,ulong)", "worker",
     "OnFileModifiedInProjectInbox(long,ulong)"},
};

// Does not count the fixture's logs, which are receivers too.
class TBareWorker : public TWorkerFixture
{
public:
    TBareWorker()
    {
        Make();
        QObject::disconnect(worker.get(), nullptr, &workerLog, nullptr);
        QObject::disconnect(hub, nullptr, &hubLog, nullptr);
        worker->Initialize();
    }

    QObject* Named(const char* name)
    {
        const QByteArray wanted(name);
        if (wanted == "gps")
            return &gps;
        if (wanted == "timer")
            return worker->findChild<QTimer*>();
        return wanted == "hub" ? static_cast<QObject*>(hub) : worker.get();
    }

    // The worker's subscribed listener.
    TKESDKNotificationMgr* Manager()
    {
        const auto calls = Script().Calls(FakeOperation::eSubscribe);
        auto* listener = const_cast<kesdk::api::ISubscriable*>(calls.front().listener);
        return dynamic_cast<TKESDKNotificationMgr*>(listener);
    }
};

bool Disconnects(QObject* sender, const char* signature, QObject* receiver)
{
    const QByteArray signal = QByteArray(1, '0' + QSIGNAL_CODE) + signature;
    return QObject::disconnect(sender, signal.constData(), receiver, nullptr);
}

// Records the methods of one object that signals call, by Qt's interface for debuggers.
class TMethodCalls
{
public:
    static void Begin(const QObject* receiver)
    {
        s_receiver = receiver;
        s_methods.clear();
        static QSignalSpyCallbackSet callbacks = {nullptr, &TMethodCalls::Note, nullptr, nullptr};
        qt_register_signal_spy_callbacks(&callbacks);
    }
    static QByteArrayList End()
    {
        qt_register_signal_spy_callbacks(nullptr);
        return s_methods;
    }

private:
    static void Note(QObject* receiver, int method, void**)
    {
        if (receiver == s_receiver)
            s_methods << receiver->metaObject()->method(method).methodSignature();
    }

    static inline const QObject* s_receiver = nullptr;
    static inline QByteArrayList s_methods;
};

// Emits the signal with default values.
void Emit(QObject* sender, const char* signature)
{
    const QMetaObject* const meta = sender->metaObject();
    const QMetaMethod signal = meta->method(meta->indexOfSignal(signature));
    std::vector<QVariant> values;
    std::vector<void*> arguments = {nullptr};
    values.reserve(static_cast<std::size_t>(signal.parameterCount()));
    for (int i = 0; i < signal.parameterCount(); ++i) {
        values.emplace_back(signal.parameterType(i), nullptr);
        arguments.push_back(values.back().data());
    }
    QMetaObject::metacall(sender, QMetaObject::InvokeMetaMethod, signal.methodIndex(),
                          arguments.data());
}

} // namespace

Q_DECLARE_METATYPE(const TRow*)

void tst_WorkerConnections::everyRowIsConnectedOnce_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < int(std::size(ROWS)); ++i)
        QTest::addRow("%s %s to %s", ROWS[i].sender, ROWS[i].signal, ROWS[i].receiver) << i;
}

void tst_WorkerConnections::everyRowIsConnectedOnce()
{
    QFETCH(int, index);
    const TRow& row = ROWS[index];
    TBareWorker f;
    QObject* const sender = f.Named(row.sender);
    QVERIFY(sender);
    QCOMPARE(fakes::Receivers::Of(sender, row.signal), 1);
    QVERIFY(Disconnects(sender, row.signal, f.Named(row.receiver)));
    QCOMPARE(fakes::Receivers::Of(sender, row.signal), 0);
}

void tst_WorkerConnections::everySignalCallsItsMethodAtOnce_data()
{
    QTest::addColumn<const TRow*>("row");
    for (const TRow& row : ROWS)
        QTest::addRow("%s %s", row.sender, row.signal) << &row;
    for (const TRow& row : MANAGER_ROWS)
        QTest::addRow("%s %s", row.sender, row.signal) << &row;
}

// On one thread every connection of the table is direct. Between two threads Qt makes it queued.
void tst_WorkerConnections::everySignalCallsItsMethodAtOnce()
{
    QFETCH(const TRow*, row);
    TBareWorker f;
    QObject* const sender =
        row->sender == QByteArray("manager") ? f.Manager() : f.Named(row->sender);
    TMethodCalls::Begin(f.Named(row->receiver));
    Emit(sender, row->signal);
    const QByteArrayList calls = TMethodCalls::End();
    QVERIFY(!calls.isEmpty());
    QCOMPARE(calls.front(), QByteArray(row->method));
}

void tst_WorkerConnections::hasNoFurtherConnections()
{
    TBareWorker f;
    for (const TRow& row : ROWS)
        QVERIFY(Disconnects(f.Named(row.sender), row.signal, f.Named(row.receiver)));
    QVERIFY(!QObject::disconnect(f.hub, nullptr, f.worker.get(), nullptr));
    QVERIFY(!QObject::disconnect(f.worker.get(), nullptr, f.hub, nullptr));
    QVERIFY(!QObject::disconnect(&f.gps, nullptr, f.worker.get(), nullptr));
    QVERIFY(!QObject::disconnect(f.Named("timer"), nullptr, f.worker.get(), nullptr));
}

void tst_WorkerConnections::everyManagerSignalIsConnectedOnce_data()
{
    QTest::addColumn<int>("index");
    for (int i = 0; i < int(std::size(MANAGER_ROWS)); ++i)
        QTest::newRow(MANAGER_ROWS[i].signal) << i;
}

void tst_WorkerConnections::everyManagerSignalIsConnectedOnce()
{
    QFETCH(int, index);
    TBareWorker f;
    TKESDKNotificationMgr* const manager = f.Manager();
    QVERIFY(manager);
    QVERIFY(manager->parent() == nullptr);
    QCOMPARE(fakes::Receivers::Of(manager, MANAGER_ROWS[index].signal), 1);
    QVERIFY(Disconnects(manager, MANAGER_ROWS[index].signal, f.worker.get()));
}

void tst_WorkerConnections::cleanupRemovesTheManagersConnections()
{
    TBareWorker f;
    const QPointer<TKESDKNotificationMgr> manager = f.Manager();
    int receiversAtWithdrawal = -1;
    f.Script().OnCall(FakeOperation::eUnsubscribe,
                      [&](const fakes::FakeCall&, const fakes::FakeAbortCheck&) {
                          receiversAtWithdrawal = 0;
                          for (const TRow& row : MANAGER_ROWS)
                              receiversAtWithdrawal += fakes::Receivers::Of(manager, row.signal);
                      });
    bool managerOutlivedTheConnection = false;
    f.Script().OnCall(FakeOperation::eDestroy,
                      [&](const fakes::FakeCall&, const fakes::FakeAbortCheck&) {
                          managerOutlivedTheConnection = !manager.isNull();
                      });
    f.worker->CleanupKESDK();
    QCOMPARE(receiversAtWithdrawal, 0);
    QVERIFY(managerOutlivedTheConnection);
    QVERIFY(manager.isNull());
}

void tst_WorkerConnections::cancellingALoginCallsNothingOfTheSdk()
{
    TWorkerFixture f;
    f.Start(TWorkerFixture::ESession::eLoggedOut);
    f.hub->OnCancelLoginToKelvoRequested();
    QVERIFY(f.Script().Calls().empty());
    QVERIFY(f.workerLog.All().isEmpty());
}

KELVO_GUI_TEST_MAIN(tst_WorkerConnections)
#include "tst_WorkerConnections.moc"
