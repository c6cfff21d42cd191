// The GPS coordinator: consistent fixes, and GPSLost for each change, in the order of the changes.
#include "hostimpl/TFedGPSCoordinator.h"

#include "support/HangGuard.h"
#include "support/TestMain.h"

#include <QtCore/QDeadlineTimer>
#include <QtCore/QThread>
#include <QtCore/QVector>
#include <QtTest/QSignalSpy>

#include <atomic>
#include <cmath>
#include <functional>
#include <limits>
#include <memory>

using hostimpl::TFedGPSCoordinator;

namespace {

// Runs a call on another thread. The destructor waits until the call has returned.
class TOtherThread
{
public:
    TOtherThread() = default;
    ~TOtherThread()
    {
        if (m_thread) {
            m_thread->wait();
        }
    }
    Q_DISABLE_COPY_MOVE(TOtherThread)

    // False if the call has not returned when the hang guard expires.
    bool Returns(const std::function<void()>& call)
    {
        m_thread.reset(QThread::create(call));
        m_thread->start();
        return m_thread->wait(QDeadlineTimer(kelvo::test::HANG_GUARD_MS));
    }

private:
    std::unique_ptr<QThread> m_thread;
};

} // namespace

class tst_GPSCoordinator : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void startsWithoutFix();
    void emitsGpsLostOnlyForChanges();
    void announcesOnlyAPresentFix();
    void keepsTheLastFixWhenLost();
    void ignoresInvalidFixes_data();
    void ignoresInvalidFixes();
    void acceptsAnyTimeOfDay();
    void aRefusedFixChangesNothing();
    void aSlotMayReadAndChangeTheState();
    void anotherThreadReadsThePositionDuringTheSignal();
    void anotherThreadLosesTheFixDuringTheSignal();
    void readsWholeFixesDuringWrites();
    void emitsSignalsInTheOrderOfTheChanges();
};

void tst_GPSCoordinator::startsWithoutFix()
{
    TFedGPSCoordinator coordinator;
    const QSignalSpy lost(&coordinator, &TGPSCoordinator::GPSLost);
    QVERIFY(!coordinator.HasFix());
    coordinator.Lose();
    coordinator.AnnounceFix();
    QCOMPARE(lost.count(), 0);
}

void tst_GPSCoordinator::emitsGpsLostOnlyForChanges()
{
    TFedGPSCoordinator coordinator;
    const QSignalSpy lost(&coordinator, &TGPSCoordinator::GPSLost);
    QVERIFY(coordinator.Feed({50.0, 8.0, 120000.0}));
    QVERIFY(coordinator.Feed({50.1, 8.0, 120001.0}));
    QCOMPARE(lost.count(), 1);
    QCOMPARE(lost.at(0).at(0).toBool(), false);
    coordinator.Lose();
    coordinator.Lose();
    QCOMPARE(lost.count(), 2);
    QCOMPARE(lost.at(1).at(0).toBool(), true);
    QVERIFY(coordinator.Feed({50.2, 8.0, 120002.0}));
    QCOMPARE(lost.count(), 3);
    QCOMPARE(lost.at(2).at(0).toBool(), false);
}

void tst_GPSCoordinator::announcesOnlyAPresentFix()
{
    TFedGPSCoordinator coordinator;
    const QSignalSpy lost(&coordinator, &TGPSCoordinator::GPSLost);
    QVERIFY(coordinator.Feed({50.0, 8.0, 120000.0}));
    coordinator.AnnounceFix();
    QCOMPARE(lost.count(), 2);
    QCOMPARE(lost.at(1).at(0).toBool(), false);
    coordinator.Lose();
    coordinator.AnnounceFix();
    QCOMPARE(lost.count(), 3);
}

void tst_GPSCoordinator::keepsTheLastFixWhenLost()
{
    TFedGPSCoordinator coordinator;
    QVERIFY(coordinator.Feed({-33.5, 151.25, 235959.5}));
    coordinator.Lose();
    const TGPSFix fix = coordinator.GetCurrentFix();
    QCOMPARE(fix.latitudeDegrees, -33.5);
    QCOMPARE(fix.longitudeDegrees, 151.25);
    QCOMPARE(fix.utcTime, 235959.5);
}

void tst_GPSCoordinator::ignoresInvalidFixes_data()
{
    QTest::addColumn<double>("latitude");
    QTest::addColumn<double>("longitude");
    QTest::addColumn<double>("time");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    QTest::newRow("beyond the pole") << 90.5 << 0.0 << 0.0;
    QTest::newRow("beyond the date line") << 0.0 << -180.5 << 0.0;
    QTest::newRow("no latitude") << nan << 0.0 << 0.0;
    QTest::newRow("no longitude") << 0.0 << nan << 0.0;
    QTest::newRow("infinite") << 0.0 << infinite << 0.0;
    QTest::newRow("no time") << 0.0 << 0.0 << nan;
    QTest::newRow("before midnight") << 0.0 << 0.0 << -1.0;
    QTest::newRow("just before midnight") << 0.0 << 0.0 << -0.01;
    QTest::newRow("the day's end") << 0.0 << 0.0 << 240000.0;
    QTest::newRow("after the day's end") << 0.0 << 0.0 << 999999.0;
    QTest::newRow("more than an int") << 0.0 << 0.0 << 1e10;
    QTest::newRow("infinite time") << 0.0 << 0.0 << infinite;
    QTest::newRow("negative infinite time") << 0.0 << 0.0 << -infinite;
}

void tst_GPSCoordinator::ignoresInvalidFixes()
{
    QFETCH(double, latitude);
    QFETCH(double, longitude);
    QFETCH(double, time);
    TFedGPSCoordinator coordinator;
    const QSignalSpy lost(&coordinator, &TGPSCoordinator::GPSLost);
    QVERIFY(!coordinator.Feed({latitude, longitude, time}));
    QVERIFY(!coordinator.HasFix());
    QCOMPARE(lost.count(), 0);
    QCOMPARE(coordinator.GetCurrentFix().latitudeDegrees, 0.0);
}

void tst_GPSCoordinator::acceptsAnyTimeOfDay()
{
    TFedGPSCoordinator coordinator;
    for (const double time : {0.0, 0.01, 123456.78, 235959.99, std::nextafter(240000.0, 0.0)}) {
        QVERIFY(coordinator.Feed({50.0, 8.0, time}));
        QCOMPARE(coordinator.GetCurrentFix().utcTime, time);
    }
}

void tst_GPSCoordinator::aRefusedFixChangesNothing()
{
    TFedGPSCoordinator coordinator;
    const QSignalSpy lost(&coordinator, &TGPSCoordinator::GPSLost);
    QVERIFY(coordinator.Feed({50.0, 8.0, 120000.0}));
    QVERIFY(!coordinator.Feed({51.0, 9.0, 240000.0}));
    QVERIFY(coordinator.HasFix());
    QCOMPARE(coordinator.GetCurrentFix().latitudeDegrees, 50.0);
    QCOMPARE(coordinator.GetCurrentFix().utcTime, 120000.0);
    coordinator.Lose();
    QVERIFY(!coordinator.Feed({51.0, 9.0, -1.0}));
    QVERIFY(!coordinator.HasFix());
    QCOMPARE(lost.count(), 2);
}

void tst_GPSCoordinator::aSlotMayReadAndChangeTheState()
{
    TFedGPSCoordinator coordinator;
    int calls = 0;
    connect(&coordinator, &TGPSCoordinator::GPSLost, &coordinator, [&](bool isLost) {
        ++calls;
        QCOMPARE(coordinator.GetCurrentFix().latitudeDegrees, 10.0);
        QCOMPARE(coordinator.HasFix(), !isLost);
        if (!isLost) {
            coordinator.Lose();
        }
    });
    QVERIFY(coordinator.Feed({10.0, 10.0, 10.0}));
    QCOMPARE(calls, 2);
}

void tst_GPSCoordinator::anotherThreadReadsThePositionDuringTheSignal()
{
    TFedGPSCoordinator coordinator;
    bool hasReturned = false;
    bool hasFix = false;
    TGPSFix fix;
    TOtherThread otherThread;
    connect(
        &coordinator, &TGPSCoordinator::GPSLost, &coordinator,
        [&] {
            hasReturned = otherThread.Returns([&] {
                hasFix = coordinator.HasFix();
                fix = coordinator.GetCurrentFix();
            });
        },
        Qt::DirectConnection);
    QVERIFY(coordinator.Feed({50.0, 8.0, 120000.0}));
    QVERIFY(hasReturned);
    QVERIFY(hasFix);
    QCOMPARE(fix.latitudeDegrees, 50.0);
    QCOMPARE(fix.utcTime, 120000.0);
}

void tst_GPSCoordinator::anotherThreadLosesTheFixDuringTheSignal()
{
    TFedGPSCoordinator coordinator;
    QVector<bool> begun;
    QVector<bool> ended;
    bool hasReturned = false;
    TOtherThread otherThread;
    connect(
        &coordinator, &TGPSCoordinator::GPSLost, &coordinator,
        [&](bool isLost) {
            begun.append(isLost);
            if (!isLost) {
                hasReturned = otherThread.Returns([&] { coordinator.Lose(); });
            }
            ended.append(isLost);
        },
        Qt::DirectConnection);
    QVERIFY(coordinator.Feed({50.0, 8.0, 120000.0}));
    QVERIFY(hasReturned);
    QVERIFY(!coordinator.HasFix());
    QCOMPARE(begun, (QVector<bool>{false, true}));
    QCOMPARE(ended, begun);
}

void tst_GPSCoordinator::readsWholeFixesDuringWrites()
{
    constexpr int fixes = 20000;
    TFedGPSCoordinator coordinator;
    std::atomic<bool> isDone{false};
    const std::unique_ptr<QThread> source(QThread::create([&] {
        for (int fix = 1; fix <= fixes; ++fix) {
            const double value = fix / double(fixes);
            coordinator.Feed({value, value, value});
        }
        isDone = true;
    }));
    source->start();
    bool isWhole = true;
    do {
        const TGPSFix fix = coordinator.GetCurrentFix();
        isWhole = isWhole && fix.latitudeDegrees == fix.longitudeDegrees &&
                  fix.latitudeDegrees == fix.utcTime;
    } while (!isDone);
    QVERIFY(source->wait());
    QVERIFY(isWhole);
    QCOMPARE(coordinator.GetCurrentFix().utcTime, 1.0);
}

// While two threads use the coordinator, the signals alternate, do not overlap, and the last signal
// tells the last state.
void tst_GPSCoordinator::emitsSignalsInTheOrderOfTheChanges()
{
    constexpr int rounds = 5000;
    TFedGPSCoordinator coordinator;
    std::atomic<bool> isLost{true};
    std::atomic<int> repeats{0};
    std::atomic<int> running{0};
    std::atomic<int> overlaps{0};
    connect(
        &coordinator, &TGPSCoordinator::GPSLost, &coordinator,
        [&](bool isLostNow) {
            if (isLost.exchange(isLostNow) == isLostNow && isLostNow) {
                ++repeats;
            }
            overlaps += running++ == 0 ? 0 : 1;
            QThread::yieldCurrentThread();
            --running;
        },
        Qt::DirectConnection);
    const std::unique_ptr<QThread> source(QThread::create([&] {
        for (int round = 0; round < rounds; ++round) {
            coordinator.Feed({1.0, 1.0, 1.0});
            coordinator.Lose();
        }
    }));
    source->start();
    for (int round = 0; round < rounds; ++round) {
        coordinator.AnnounceFix();
    }
    QVERIFY(source->wait());
    QVERIFY(isLost);
    QCOMPARE(repeats.load(), 0);
    QCOMPARE(overlaps.load(), 0);
}

KELVO_TEST_MAIN(tst_GPSCoordinator)
#include "tst_gpscoordinator.moc"
