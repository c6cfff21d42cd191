// When the worker listens to the hub.
#include "console/headless/WorkerReadiness.h"
#include "core/TKelvoInterface.h"
#include "support/TestMain.h"

class TWorkerReadinessTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void seesAWorkerThatListensToAllRequests()
    {
        TKelvoInterface hub;
        QVERIFY(!console::IsWorkerListening(hub));
        ConnectAllButDelete(hub);
        QVERIFY(!console::IsWorkerListening(hub));
        connect(&hub, &TKelvoInterface::KelvoDeleteFilesRequested, this, [] {});
        QVERIFY(console::IsWorkerListening(hub));
        QVERIFY(console::WaitForWorker(hub, 0));
    }

    void waitsForAWorker()
    {
        TKelvoInterface hub;
        ConnectAllButDelete(hub);
        QMetaObject::invokeMethod(
            this, [&] { connect(&hub, &TKelvoInterface::KelvoDeleteFilesRequested, this, [] {}); },
            Qt::QueuedConnection);
        QVERIFY(console::WaitForWorker(hub, 60000));
    }

    void givesUp()
    {
        TKelvoInterface hub;
        QVERIFY(!console::WaitForWorker(hub, 1));
    }

private:
    void ConnectAllButDelete(TKelvoInterface& hub)
    {
        connect(&hub, &TKelvoInterface::KelvoLoginRequested, this, [] {});
        connect(&hub, &TKelvoInterface::KelvoLogoutRequested, this, [] {});
        connect(&hub, &TKelvoInterface::KelvoUploadRequested, this, [] {});
        connect(&hub, &TKelvoInterface::KelvoDownloadRequested, this, [] {});
    }
};

KELVO_TEST_MAIN(TWorkerReadinessTest)
#include "tst_WorkerReadiness.moc"
