// The position thread: where its source runs and how it ends.
#include "console/position/Sentences.h"
#include "console/position/TPositionThread.h"
#include "console/position/TPseudoTerminal.h"
#include "console/position/TSystemSourceTime.h"
#include "hostimpl/TFedGPSCoordinator.h"
#include "support/HangGuard.h"
#include "support/TestMain.h"

#include <QtCore/QTemporaryFile>
#include <QtTest/QSignalSpy>

#include <atomic>

using namespace kelvo::test;
using console::EGpsKind;
using console::EPositionState;
using console::ESourceState;
using console::TGpsSetting;
using console::TPositionEvent;
using console::TPositionMonitor;
using console::TPositionThread;

namespace {

struct TFixture
{
    console::TSystemSourceTime time;
    hostimpl::TFedGPSCoordinator coordinator;
    TPositionMonitor monitor{coordinator, time};
};

TGpsSetting Setting(EGpsKind kind, const QString& path = QString())
{
    TGpsSetting setting;
    setting.kind = kind;
    setting.path = path;
    return setting;
}

} // namespace

class TPositionThreadTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void feedsTheCoordinatorFromItsOwnThread()
    {
        QTemporaryFile log;
        QVERIFY(log.open() && log.write(Gga("093015", '1') + Gga("093015.01", '1')) > 0);
        QVERIFY(log.flush());
        TFixture fixture;
        std::atomic<QThread*> feeder{nullptr};
        connect(
            &fixture.coordinator, &TGPSCoordinator::GPSLost, &fixture.coordinator,
            [&feeder](bool) { feeder = QThread::currentThread(); }, Qt::DirectConnection);
        QThread* told = nullptr;
        int gained = 0;
        const QObject receiver; // drops the calls that are still queued at the end
        connect(&fixture.monitor, &TPositionMonitor::Changed, &receiver,
                [&](const TPositionEvent& event) {
                    told = QThread::currentThread();
                    gained += event.change == TPositionEvent::EChange::eGained;
                });
        TPositionThread source(Setting(EGpsKind::eLog, log.fileName()), fixture.monitor,
                               fixture.time);
        source.start(QThread::InheritPriority);
        QTRY_COMPARE_WITH_TIMEOUT(fixture.monitor.State().source, ESourceState::eEnded,
                                  HANG_GUARD_MS);
        QTRY_COMPARE_WITH_TIMEOUT(gained, 1, HANG_GUARD_MS);
        QCOMPARE(told, QThread::currentThread());
        QVERIFY(feeder != nullptr && feeder != QThread::currentThread());
        QCOMPARE(fixture.monitor.State().fixes, std::uint64_t(2));
        QCOMPARE(fixture.monitor.State().lost, 1);
        source.Stop();
        source.wait();
        QCOMPARE(fixture.monitor.State().source, ESourceState::eOff);
    }

    void losesTheFixWhenItEnds_data()
    {
        QTest::addColumn<bool>("isStopped");
        QTest::newRow("stopped") << true;
        QTest::newRow("only destroyed") << false;
    }

    void losesTheFixWhenItEnds()
    {
        QFETCH(bool, isStopped);
        const TPseudoTerminal line;
        TFixture fixture;
        {
            TPositionThread source(Setting(EGpsKind::eSerial, line.Device()), fixture.monitor,
                                   fixture.time);
            source.start(QThread::InheritPriority);
            // Opening the port drops earlier bytes.
            QTRY_VERIFY_WITH_TIMEOUT(source.IsInitialised(), HANG_GUARD_MS);
            line.Write(Gga("093015", '1'));
            QTRY_VERIFY_WITH_TIMEOUT(fixture.coordinator.HasFix(), HANG_GUARD_MS);
            if (isStopped) {
                source.Stop();
                source.wait();
                QVERIFY(!fixture.coordinator.HasFix());
            }
        }
        QVERIFY(!fixture.coordinator.HasFix());
        QCOMPARE(fixture.monitor.State().state, EPositionState::eLost);
        QCOMPARE(fixture.monitor.State().source, ESourceState::eOff);
    }

    void mayEndBeforeTheSourceStarts_data()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("none") << static_cast<int>(EGpsKind::eNone);
        QTest::newRow("gpsd") << static_cast<int>(EGpsKind::eGpsd);
        QTest::newRow("log") << static_cast<int>(EGpsKind::eLog);
    }

    void mayEndBeforeTheSourceStarts()
    {
        QFETCH(int, kind);
        QTemporaryFile log;
        QVERIFY(log.open() && log.write(Gga("093015", '1') + Gga("093025", '1')) > 0);
        QVERIFY(log.flush());
        TFixture fixture;
        TGpsSetting setting = Setting(static_cast<EGpsKind>(kind), log.fileName());
        setting.host = QStringLiteral("127.0.0.1");
        {
            TPositionThread source(setting, fixture.monitor, fixture.time);
            source.Stop();
            source.start(QThread::InheritPriority);
        }
        QVERIFY(!fixture.coordinator.HasFix());
    }

    void mayBeDestroyedWithoutStart()
    {
        TFixture fixture;
        const TPositionThread source(Setting(EGpsKind::eGpsd), fixture.monitor, fixture.time);
        QCOMPARE(fixture.monitor.State().source, ESourceState::eOff);
    }
};

KELVO_TEST_MAIN(TPositionThreadTest)
#include "tst_PositionThread.moc"
