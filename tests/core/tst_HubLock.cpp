// The hub's lock, tested from a second thread: free during every emission, held for each change.
#include "support/TestMain.h"
#include "tests/core/HubEvents.h"
#include "tests/core/HubStates.h"
#include "tests/fakes/SignalLog.h"

#include <QtCore/QSemaphore>
#include <QtTest/QtTest>

#include <atomic>
#include <memory>
#include <thread>

class tst_HubLock : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void isFreeDuringEveryEmission_data();
    void isFreeDuringEveryEmission();
    void aSecondThreadReadsOnlyCompleteListings();
    void aSecondThreadCanReadAndRevertTheCancel();
};

namespace {

constexpr int HANG_GUARD_MS = 30000;

// Takes the lock for reading and for writing on a second thread. Returns false if that blocks. Then
// the blocked thread keeps running, and the hub has to be kept.
bool CanLockElsewhere(TKelvoInterface* hub)
{
    const auto done = std::make_shared<QSemaphore>();
    std::thread other([hub, done] {
        hub->GetKelvoProjectFilesList(eCurves);
        const bool cancelRequested = hub->IsCancelCurrentOperationRequested();
        if (cancelRequested)
            hub->OnCancelCurrentOperationRequested();
        else
            hub->RevertCancelCurrentOperation();
        done->release();
    });
    if (done->tryAcquire(1, HANG_GUARD_MS)) {
        other.join();
        return true;
    }
    other.detach();
    return false;
}

} // namespace

void tst_HubLock::initTestCase()
{
    qRegisterMetaType<QList<KelvoFileTransferErrorDetails>>("KelvoFileTransferErrorDetailsList");
    qRegisterMetaType<KelvoFileInfoList>("KelvoFileInfoList");
}

void tst_HubLock::isFreeDuringEveryEmission_data()
{
    QTest::addColumn<int>("eventIndex");
    const QList<HubEvent> events = HubEvents();
    for (int e = 0; e < events.size(); ++e) {
        if (!events[e].emittedLoggedOut.isEmpty())
            QTest::newRow(events[e].name) << e;
    }
}

void tst_HubLock::isFreeDuringEveryEmission()
{
    QFETCH(int, eventIndex);
    const HubEvent event = HubEvents().at(eventIndex);
    auto* hub = new TKelvoInterface;
    auto log = std::make_unique<fakes::SignalLog>();
    int emissions = 0;
    bool wasFree = true;
    log->OnEach([&](const fakes::LoggedSignal&) {
        ++emissions;
        wasFree = wasFree && CanLockElsewhere(hub);
    });
    log->Watch(hub);
    event.happen(*hub);
    QVERIFY2(wasFree, "the lock was held while a signal was emitted");
    QCOMPARE(emissions, event.emittedLoggedOut.size());
    delete hub; // not deleted if a thread is blocked in it
}

void tst_HubLock::aSecondThreadReadsOnlyCompleteListings()
{
    TKelvoInterface hub;
    std::atomic<bool> stop{false};
    std::atomic<int> reads{0};
    std::atomic<bool> whole{true};
    std::thread reader([&] {
        while (!stop || reads == 0) {
            const KelvoFileInfoList list = hub.GetKelvoProjectFilesList(eCurves);
            if (list.fileIds.size() != list.fileNames.size())
                whole = false;
            ++reads;
        }
    });
    for (int round = 0; round < 2000; ++round) {
        KelvoFileInfoList list;
        for (long id = 0; id < round % 5; ++id) {
            list.fileIds << id;
            list.fileNames << QString::number(id);
        }
        hub.OnNewKelvoProjectFilesList(eCurves, list);
    }
    stop = true;
    reader.join();
    QVERIFY(whole);
    QCOMPARE(hub.GetKelvoProjectFilesList(eCurves).fileIds.size(), 1999 % 5);
}

void tst_HubLock::aSecondThreadCanReadAndRevertTheCancel()
{
    TKelvoInterface hub;
    QSemaphore seen;
    std::thread worker([&] {
        for (int round = 0; round < 100; ++round) {
            while (!hub.IsCancelCurrentOperationRequested())
                std::this_thread::yield();
            hub.RevertCancelCurrentOperation();
            seen.release();
        }
    });
    for (int round = 0; round < 100; ++round) {
        QVERIFY(!hub.IsCancelCurrentOperationRequested());
        hub.OnCancelCurrentOperationRequested();
        QVERIFY(seen.tryAcquire(1, HANG_GUARD_MS));
    }
    worker.join();
    QVERIFY(!hub.IsCancelCurrentOperationRequested());
}

KELVO_TEST_MAIN(tst_HubLock)
#include "tst_HubLock.moc"
