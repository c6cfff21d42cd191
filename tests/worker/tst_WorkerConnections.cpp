// The worker's table of connections: each connection exists once, and there are no others.
#include "support/GuiTestMain.h"
#include "tests/fakes/Receivers.h"
#include "tests/worker/TRunningWorker.h"
#include "worker/TKESDKNotificationMgr.h"

#include <QtCore/QTimer>
#include <QtTest/QtTest>

using fakes::FakeOperation;

class tst_WorkerConnections : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void everyRowIsConnectedOnce_data();
    void everyRowIsConnectedOnce();
    void hasNoFurtherConnections();
    void everyManagerSignalIsConnectedOnce_data();
    void everyManagerSignalIsConnectedOnce();
    void cleanupRemovesTheManagersConnections();
    void cancellingALoginCallsNothingOfTheSdk();
};

namespace {

// One row of the table. An empty slot of the hub means the hub's signal of the same signature.
struct TRow
{
    const char* sender;
    const char* signal;
    const char* receiver;
};

constexpr TRow ROWS[] = {
    {"gps", "GPSLost(bool)", "worker"},
    {"timer", "timeout()", "worker"},
    {"hub", "KelvoLoginRequested()", "worker"},
    {"hub", "KelvoCancelLoginRequested()", "worker"},
    {"hub", "KelvoLogoutRequested()", "worker"},
    {"hub", "KelvoUploadRequested(int,QStringList)", "worker"},
    {"hub", "KelvoDownloadRequested(int,QStringList,KelvoFileInfoList)", "worker"},
    {"hub", "KelvoDeleteFilesRequested(int,QStringList,KelvoFileInfoList)", "worker"},
    {"worker", "KelvoLoginInProgress()", "hub"},
    {"worker", "KelvoLoggedIn()", "hub"},
    {"worker", "KelvoLoggedOut()", "hub"},
    {"worker", "KelvoLoginFailed(QString)", "hub"},
    {"worker", "PostLoginChecksInProgress()", "hub"},
    {"worker", "PostLoginChecksComplete()", "hub"},
    {"worker", "KelvoUserInboxSetupInProgress(int)", "hub"},
    {"worker", "KelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList)", "hub"},
    {"worker", "KelvoUploadingFile(int,QString)", "hub"},
    {"worker", "KelvoUploadComplete(int,KelvoFileTransferErrorDetailsList)", "hub"},
    {"worker", "KelvoDownloadingFile(int,QString)", "hub"},
    {"worker", "KelvoDownloadComplete(int,KelvoFileTransferErrorDetailsList)", "hub"},
    {"worker", "NewKelvoProjectFilesList(int,KelvoFileInfoList)", "hub"},
    {"worker", "KelvoDeletingFile(int,QString)", "hub"},
    {"worker", "KelvoDeleteComplete(int,KelvoFileTransferErrorDetailsList)", "hub"},
};
static_assert(std::size(ROWS) == 23, "the table has 23 rows");

constexpr const char* MANAGER_SIGNALS[] = {
    "NotLoggedIn()",
    "LoginInProgress()",
    "LoginSuccessful()",
    "LoginFailed()",
    "FileModifiedInUserInbox(long,ulong)",
    "FileModifiedInProjectInbox(long,ulong)",
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

} // namespace

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
    for (int i = 0; i < int(std::size(MANAGER_SIGNALS)); ++i)
        QTest::newRow(MANAGER_SIGNALS[i]) << i;
}

void tst_WorkerConnections::everyManagerSignalIsConnectedOnce()
{
    QFETCH(int, index);
    TBareWorker f;
    TKESDKNotificationMgr* const manager = f.Manager();
    QVERIFY(manager);
    QVERIFY(manager->parent() == nullptr);
    QCOMPARE(fakes::Receivers::Of(manager, MANAGER_SIGNALS[index]), 1);
    QVERIFY(Disconnects(manager, MANAGER_SIGNALS[index], f.worker.get()));
}

void tst_WorkerConnections::cleanupRemovesTheManagersConnections()
{
    TBareWorker f;
    const QPointer<TKESDKNotificationMgr> manager = f.Manager();
    int receiversAtWithdrawal = -1;
    f.Script().OnCall(FakeOperation::eUnsubscribe,
                      [&](const fakes::FakeCall&, const fakes::FakeAbortCheck&) {
                          receiversAtWithdrawal = 0;
                          for (const char* signal : MANAGER_SIGNALS)
                              receiversAtWithdrawal += fakes::Receivers::Of(manager, signal);
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
