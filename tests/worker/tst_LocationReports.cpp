// Position reports: one each minute, and their content.
#include "support/GuiTestMain.h"
#include "tests/worker/TRunningWorker.h"
#include "tests/worker/TSharing.h"

#include <QtCore/QThread>
#include <QtTest/QtTest>

#include <atomic>
#include <iterator>
#include <memory>

using fakes::FakeOperation;
using fakes::OneError;
using ESession = TWorkerFixture::ESession;
using kesdk::api::Position;

class tst_LocationReports : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void eachMinuteReportsOnce();
    void aReportWhileTheSdkIsLoggedOutIsNotSent();
    void aReportNeedsNeitherTheHubNorSharing();
    void aRefusedReportIsIgnored();
    void eachReportHasTheCurrentFix();
    void reportsZerosBeforeTheFirstFix();
    void positionsOfAFastSourceStayConsistent();
    void theLastStateOfAFlickeringReceiverDecides_data();
    void theLastStateOfAFlickeringReceiverDecides();
};

namespace {

const QStringList STARTED{QStringLiteral("MeasDeviceConnected"), QStringLiteral("IsLoggedIn"),
                          QStringLiteral("ReportPosition")};
const QStringList REPORTED{QStringLiteral("IsLoggedIn"), QStringLiteral("ReportPosition")};

} // namespace

void tst_LocationReports::eachMinuteReportsOnce()
{
    TSharing f;
    f.StartSharing();
    for (int minute = 1; minute <= 5; ++minute) {
        f.Script().ClearCalls();
        f.LetAMinutePass();
        QCOMPARE(f.Calls(), REPORTED);
        QVERIFY(f.IsTimerRunning());
    }
    QCOMPARE(f.Positions().size(), std::size_t(6));
    QVERIFY(f.IsSilent());
}

void tst_LocationReports::aReportWhileTheSdkIsLoggedOutIsNotSent()
{
    TSharing f;
    f.Start(ESession::eLoggedOut);
    f.hub->OnLoggedIntoKelvo();
    f.Report();
    QCOMPARE(f.Calls(), QStringList{QStringLiteral("IsLoggedIn")});
}

void tst_LocationReports::aReportNeedsNeitherTheHubNorSharing()
{
    TSharing f;
    f.StartLoggedInAtTheSdkOnly();
    f.Report();
    QCOMPARE(f.Calls(), REPORTED);
    QVERIFY(!f.IsTimerRunning());
}

void tst_LocationReports::aRefusedReportIsIgnored()
{
    TSharing f;
    f.Script().FailAlways(FakeOperation::eReportPosition, OneError(L"No link."));
    f.Start(ESession::eLoggedIn);
    f.Tell(false);
    QCOMPARE(f.Calls(), STARTED); // the error is not read
    QVERIFY(f.IsTimerRunning());
    f.Script().ClearCalls();
    f.LetAMinutePass();
    QCOMPARE(f.Calls(), REPORTED);
    QVERIFY(f.IsTimerRunning());
    QVERIFY(f.IsSilent());
}

void tst_LocationReports::eachReportHasTheCurrentFix()
{
    constexpr TGPSFix fixes[] = {{-90.0, 180.0, 0.0},
                                 {90.0, -180.0, 1.0},
                                 {0.1 + 0.2, 1e-300, 2.0},
                                 {-0.0, 123.456789, 3.0}};
    TSharing f;
    f.StartSharing();
    for (const TGPSFix& fix : fixes) {
        QVERIFY(f.gps.Feed(fix));
        f.LetAMinutePass();
        QVERIFY(f.Positions().back().latitudeDegrees == fix.latitudeDegrees);
        QVERIFY(f.Positions().back().longitudeDegrees == fix.longitudeDegrees);
    }
    QCOMPARE(f.Positions().size(), std::size(fixes) + 1);
}

void tst_LocationReports::reportsZerosBeforeTheFirstFix()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedIn);
    f.Call("OnShareCurrentLocationWithKelvo");
    const std::vector<Position> positions = f.Sdk().Live()->Positions();
    QCOMPARE(positions.size(), std::size_t(1));
    QCOMPARE(positions.front().latitudeDegrees, 0.0);
    QCOMPARE(positions.front().longitudeDegrees, 0.0);
    QCOMPARE(positions.front().timeSeconds % 86400, 0);
}

void tst_LocationReports::positionsOfAFastSourceStayConsistent()
{
    constexpr int reports = 2000;
    TSharing f;
    QVERIFY(f.gps.Feed({0.0, 0.0, 0.0}));
    f.StartLoggedInAtTheSdkOnly();
    std::atomic<bool> isDone{false};
    const std::unique_ptr<QThread> source(QThread::create([&] {
        for (int round = 0; !isDone; ++round) {
            const int second = round % 60;
            f.gps.Feed({second / 1.0, second * 2.0, second / 1.0});
        }
    }));
    source->start();
    for (int report = 0; report < reports; ++report)
        f.Report();
    isDone = true;
    QVERIFY(source->wait());
    const std::vector<Position> positions = f.Positions();
    QCOMPARE(positions.size(), std::size_t(reports));
    for (const Position& position : positions) {
        QCOMPARE(position.longitudeDegrees, position.latitudeDegrees * 2.0);
        QCOMPARE(double(position.timeSeconds % 60), position.latitudeDegrees);
    }
}

void tst_LocationReports::theLastStateOfAFlickeringReceiverDecides_data()
{
    QTest::addColumn<bool>("endsLost");
    QTest::newRow("lost") << true;
    QTest::newRow("regained") << false;
}

// The receiver and the worker have a thread each, and the session begins and ends repeatedly.
void tst_LocationReports::theLastStateOfAFlickeringReceiverDecides()
{
    QFETCH(bool, endsLost);
    constexpr int rounds = 200;
    TRunningWorker f;
    QVERIFY(f.Run());
    QVERIFY(f.LogIn());
    const std::unique_ptr<QThread> source(QThread::create([&] {
        for (int round = 0; round < rounds; ++round) {
            f.gps.Feed(TSharing::FIX);
            f.gps.Lose();
        }
    }));
    source->start();
    for (int logout = 0; logout < 3; ++logout) {
        f.hubLog.Clear();
        f.hub->OnLogoutFromKelvoRequested();
        QVERIFY(f.hubLog.WaitFor(QStringLiteral("KelvoLoggedOut")));
        f.hubLog.Clear();
        QVERIFY(f.LogIn());
    }
    QVERIFY(source->wait());
    if (!endsLost)
        QVERIFY(f.gps.Feed(TSharing::FIX));
    bool isTimerRunning = endsLost;
    QMetaObject::invokeMethod(
        f.worker.get(), [&] { isTimerRunning = f.worker->findChild<QTimer*>()->isActive(); },
        Qt::BlockingQueuedConnection);
    QCOMPARE(isTimerRunning, !endsLost);
    QVERIFY(f.Script().Count(FakeOperation::eMeasDeviceDisconnected) >= std::size_t(rounds));
    f.End();
}

KELVO_GUI_TEST_MAIN(tst_LocationReports)
#include "tst_LocationReports.moc"
