// Location sharing: its start, its end, and its calls of the SDK.
#include "support/GuiTestMain.h"
#include "tests/worker/TSharing.h"

#include <QtCore/QAbstractEventDispatcher>
#include <QtTest/QtTest>

using fakes::FakeErrors;
using fakes::FakeOperation;
using fakes::OneError;
using ESession = TWorkerFixture::ESession;

class tst_Location : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void theReceiverIsRegisteredAndThePositionReportedAtOnce();
    void theCoordinatorsSignalStartsAndEndsSharing();
    void nothingStartsBeforeTheReceiverReportedAPosition();
    void nothingStartsWhileTheHubIsLoggedOut();
    void nothingStartsWhileTheSdkIsLoggedOut();
    void aRefusedRegistrationReportsNothingAndStartsNothing_data();
    void aRefusedRegistrationReportsNothingAndStartsNothing();
    void startsAtTheNextRegistrationAfterARefusedOne();
    void preparingTwiceRegistersTwiceAndRestartsTheTimer();
    void aLostPositionEndsSharingWithALastReport();
    void aLostPositionWhileLoggedOutReportsNothing();
    void forgetsALostPosition();
    void endingWithoutSharingStillRemovesTheReceiver();
    void stopsTheTimerAfterARefusedDeregistration();
    void theLastOfSeveralLossesAndGainsDecides_data();
    void theLastOfSeveralLossesAndGainsDecides();
};

namespace {

const QStringList STARTED{QStringLiteral("MeasDeviceConnected"), QStringLiteral("IsLoggedIn"),
                          QStringLiteral("ReportPosition")};
const QStringList ENDED{QStringLiteral("MeasDeviceDisconnected"), QStringLiteral("IsLoggedIn"),
                        QStringLiteral("ReportPosition")};
const QStringList REPORTED{QStringLiteral("IsLoggedIn"), QStringLiteral("ReportPosition")};
const QStringList REFUSED{QStringLiteral("MeasDeviceConnected"), QStringLiteral("GetLastErrors")};
const QStringList TAKEN_OFF{QStringLiteral("MeasDeviceDisconnected")};
const QStringList NOT_TAKEN_OFF{QStringLiteral("MeasDeviceDisconnected"),
                                QStringLiteral("GetLastErrors")};

} // namespace

void tst_Location::theReceiverIsRegisteredAndThePositionReportedAtOnce()
{
    TSharing f;
    f.Start(ESession::eLoggedIn);
    QVERIFY(!f.IsTimerRunning());
    f.Tell(false);
    QCOMPARE(f.Calls(), STARTED);
    QVERIFY(f.IsTimerRunning());
    QCOMPARE(f.Timer()->interval(), 60000);
    QVERIFY(!f.Timer()->isSingleShot());
    QCOMPARE(f.Positions().size(), std::size_t(1));
    QCOMPARE(f.Positions().front().latitudeDegrees, 52.25);
    QCOMPARE(f.Positions().front().longitudeDegrees, -1.5);
    QVERIFY(f.IsSilent());
}

void tst_Location::theCoordinatorsSignalStartsAndEndsSharing()
{
    TSharing f;
    f.gps.Lose();
    f.Start(ESession::eLoggedIn);
    f.gps.Feed({1.0, 2.0, 3.0});
    QCoreApplication::sendPostedEvents();
    QCOMPARE(f.Calls(), STARTED);
    QVERIFY(f.IsTimerRunning());
    f.gps.Feed({1.5, 2.0, 4.0}); // the fix is not lost, so only the timer reports
    f.gps.AnnounceFix();
    QCoreApplication::sendPostedEvents();
    QCOMPARE(f.Calls(), STARTED + STARTED);
    f.Script().ClearCalls();
    f.gps.Lose();
    QCoreApplication::sendPostedEvents();
    QCOMPARE(f.Calls(), ENDED);
    QVERIFY(!f.IsTimerRunning());
}

void tst_Location::nothingStartsBeforeTheReceiverReportedAPosition()
{
    TSharing f; // the coordinator's fix alone does not start sharing
    f.Start(ESession::eLoggedIn);
    f.worker->PrepareForLocationSharing();
    QVERIFY(f.Calls().isEmpty());
    QVERIFY(!f.IsTimerRunning());
}

void tst_Location::nothingStartsWhileTheHubIsLoggedOut()
{
    TSharing f;
    f.StartLoggedInAtTheSdkOnly();
    f.Tell(false);
    QVERIFY(f.Calls().isEmpty());
    QVERIFY(!f.IsTimerRunning());
    f.hub->OnLoggedIntoKelvo();
    QVERIFY(f.Calls().isEmpty()); // a login of the hub alone starts nothing
    f.worker->PrepareForLocationSharing();
    QCOMPARE(f.Calls(), STARTED); // the position was remembered
    QVERIFY(f.IsTimerRunning());
}

void tst_Location::nothingStartsWhileTheSdkIsLoggedOut()
{
    TSharing f;
    f.Start(ESession::eLoggedOut);
    f.hub->OnLoggedIntoKelvo();
    f.hubLog.Clear();
    f.Tell(false);
    QCOMPARE(f.Calls(), REFUSED); // the SDK refuses without a script
    QVERIFY(!f.IsTimerRunning());
    QVERIFY(f.IsSilent());
}

void tst_Location::aRefusedRegistrationReportsNothingAndStartsNothing_data()
{
    QTest::addColumn<int>("records");
    QTest::newRow("with an error") << 1;
    QTest::newRow("without errors") << 0;
}

void tst_Location::aRefusedRegistrationReportsNothingAndStartsNothing()
{
    QFETCH(int, records);
    TSharing f;
    f.Start(ESession::eLoggedIn);
    f.Script().FailAlways(FakeOperation::eMeasDeviceConnected,
                          records ? OneError(L"<b>No</b> link.") : FakeErrors());
    f.Tell(false);
    f.worker->PrepareForLocationSharing();
    QCOMPARE(f.Calls(), REFUSED + REFUSED);
    QVERIFY(!f.IsTimerRunning());
    QVERIFY(f.Positions().empty());
    QVERIFY(f.IsSilent());
}

void tst_Location::startsAtTheNextRegistrationAfterARefusedOne()
{
    TSharing f;
    f.Start(ESession::eLoggedIn);
    f.Script().FailNth(FakeOperation::eMeasDeviceConnected, 1, OneError(L"No link."));
    f.Tell(false);
    f.Script().ClearCalls();
    f.Tell(false);
    QCOMPARE(f.Calls(), STARTED);
    QVERIFY(f.IsTimerRunning());
}

void tst_Location::preparingTwiceRegistersTwiceAndRestartsTheTimer()
{
    TSharing f;
    f.StartSharing();
    // A new start of the timer registers it with the dispatcher again.
    QVERIFY(QAbstractEventDispatcher::instance()->unregisterTimer(f.Timer()->timerId()));
    QCOMPARE(f.Timer()->remainingTime(), -1);
    f.worker->PrepareForLocationSharing();
    QCOMPARE(f.Calls(), STARTED);
    QVERIFY(f.IsTimerRunning());
    QVERIFY(f.Timer()->remainingTime() > 0);
    QCOMPARE(f.Positions().size(), std::size_t(2));
    f.Script().ClearCalls();
    f.LetAMinutePass();
    QCOMPARE(f.Calls(), REPORTED); // not twice a minute
}

void tst_Location::aLostPositionEndsSharingWithALastReport()
{
    TSharing f;
    f.StartSharing();
    f.gps.Feed({10.0, 20.0, 101010.0});
    f.Tell(true);
    QCOMPARE(f.Calls(), ENDED);
    QVERIFY(!f.IsTimerRunning());
    QCOMPARE(f.Positions().back().latitudeDegrees, 10.0); // the last known position
    QCOMPARE(f.Positions().back().longitudeDegrees, 20.0);
    QVERIFY(f.IsSilent());
}

void tst_Location::aLostPositionWhileLoggedOutReportsNothing()
{
    TSharing f;
    f.Start(ESession::eLoggedOut);
    f.Tell(true);
    QCOMPARE(f.Calls(), NOT_TAKEN_OFF + QStringList{QStringLiteral("IsLoggedIn")});
    QVERIFY(f.Positions().empty());
    QVERIFY(f.IsSilent());
}

void tst_Location::forgetsALostPosition()
{
    TSharing f;
    f.StartSharing();
    f.Tell(true);
    f.Script().ClearCalls();
    f.worker->PrepareForLocationSharing();
    QVERIFY(f.Calls().isEmpty());
    QVERIFY(!f.IsTimerRunning());
}

void tst_Location::endingWithoutSharingStillRemovesTheReceiver()
{
    TSharing f;
    f.Start(ESession::eLoggedIn);
    f.worker->EndLocationSharing();
    f.worker->EndLocationSharing();
    QCOMPARE(f.Calls(), TAKEN_OFF + TAKEN_OFF);
    QVERIFY(f.IsSilent());
}

void tst_Location::stopsTheTimerAfterARefusedDeregistration()
{
    TSharing f;
    f.StartSharing();
    f.Script().FailAlways(FakeOperation::eMeasDeviceDisconnected, OneError(L"No link."));
    f.worker->EndLocationSharing();
    QCOMPARE(f.Calls(), NOT_TAKEN_OFF);
    QVERIFY(!f.IsTimerRunning());
    QVERIFY(f.IsSilent());
    f.Script().StopFailing(FakeOperation::eMeasDeviceDisconnected);
    f.Script().ClearCalls();
    f.worker->PrepareForLocationSharing(); // the position stayed valid
    QCOMPARE(f.Calls(), STARTED);
}

void tst_Location::theLastOfSeveralLossesAndGainsDecides_data()
{
    QTest::addColumn<bool>("sdkIsLoggedIn");
    QTest::addColumn<bool>("hubIsLoggedIn");
    QTest::newRow("logged out") << false << false;
    QTest::newRow("logged in") << true << true;
    QTest::newRow("only the SDK is logged in") << true << false;
    QTest::newRow("only the hub is logged in") << false << true;
}

// Every sequence of six losses and gains, also repeated ones.
void tst_Location::theLastOfSeveralLossesAndGainsDecides()
{
    QFETCH(bool, sdkIsLoggedIn);
    QFETCH(bool, hubIsLoggedIn);
    TSharing f;
    if (sdkIsLoggedIn)
        f.StartLoggedInAtTheSdkOnly();
    else
        f.Start(ESession::eLoggedOut);
    if (hubIsLoggedIn)
        f.hub->OnLoggedIntoKelvo();
    f.hubLog.Clear();
    for (unsigned pattern = 0; pattern < 64; ++pattern) {
        for (unsigned bit = 0; bit < 6; ++bit) {
            const bool isLost = (pattern >> bit) & 1U;
            f.Script().ClearCalls();
            f.Tell(isLost);
            QCOMPARE(f.IsTimerRunning(), !isLost && sdkIsLoggedIn && hubIsLoggedIn);
            QCOMPARE(f.Script().Count(FakeOperation::eMeasDeviceDisconnected),
                     std::size_t(isLost ? 1 : 0));
            QCOMPARE(f.Script().Count(FakeOperation::eMeasDeviceConnected),
                     std::size_t(!isLost && hubIsLoggedIn ? 1 : 0));
            QCOMPARE(f.Script().Count(FakeOperation::eReportPosition),
                     std::size_t(sdkIsLoggedIn && (isLost || hubIsLoggedIn) ? 1 : 0));
        }
    }
    QVERIFY(f.IsSilent());
}

KELVO_GUI_TEST_MAIN(tst_Location)
#include "tst_Location.moc"
