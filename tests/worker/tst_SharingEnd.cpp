// The end of a session ends location sharing first.
#include "support/GuiTestMain.h"
#include "tests/fakes/Declarations.h"
#include "tests/worker/TRunningWorker.h"
#include "tests/worker/TSessionTrace.h"
#include "tests/worker/TSharing.h"

#include <QtTest/QtTest>

using fakes::FakeOperation;
using fakes::Lines;
using fakes::OneError;
using ESession = TWorkerFixture::ESession;

class tst_SharingEnd : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void aLogoutEndsSharingBeforeTheSession();
    void aLogoutRemovesTheReceiverAlsoWithoutSharing();
    void aLogoutWhileTheSdkIsLoggedOutReportsAtOnce();
    void aRefusedLogoutStillEndsSharing();
    void aLostSessionEndsSharingAfterTheReport();
    void ignoresALostSessionWhileLoggedOut();
    void keepsThePositionAfterTheSession();
    void finalizeStopsTheTimerAndEndsSharingFirst();
    void finalizeWhileLoggedOutRemovesTheReceiverWithoutALogout();
    void finalizeEndsSharingOnTheWorkersThread();
};

namespace {

// The hub and the SDK are logged in, and the worker shares its location.
class TInSession : public TSharing
{
public:
    explicit TInSession(TSessionTrace& trace)
    {
        trace.Follow(*this);
        StartSharing();
        trace.Take();
    }
};

} // namespace

void tst_SharingEnd::aLogoutEndsSharingBeforeTheSession()
{
    TSessionTrace trace;
    TInSession f(trace);
    f.Call("OnLogoutFromKelvo");
    QCOMPARE(trace.Take(), Lines("> MeasDeviceDisconnected\n> IsLoggedIn\n> Logout"));
    QVERIFY(!f.IsTimerRunning());
    f.DeliverNotifications();
    QCOMPARE(trace.Take(), Lines("KelvoLoggedOut\n> MeasDeviceDisconnected\n> GetLastErrors"));
    QVERIFY(!f.IsTimerRunning());
    const auto devices = f.Sdk().Live()->DeviceReports();
    QCOMPARE(devices.back().report.state, 0);       // sent before the session ended
    QCOMPARE(f.Positions().size(), std::size_t(1)); // a logout sends no last position
}

void tst_SharingEnd::aLogoutRemovesTheReceiverAlsoWithoutSharing()
{
    TSessionTrace trace;
    TSharing f;
    trace.Follow(f);
    f.Start(ESession::eLoggedIn);
    trace.Take();
    f.Call("OnLogoutFromKelvo");
    QCOMPARE(trace.Take(), Lines("> MeasDeviceDisconnected\n> IsLoggedIn\n> Logout"));
}

void tst_SharingEnd::aLogoutWhileTheSdkIsLoggedOutReportsAtOnce()
{
    TSessionTrace trace;
    TSharing f;
    trace.Follow(f);
    f.Start(ESession::eLoggedOut);
    trace.Take();
    f.Call("OnLogoutFromKelvo");
    QCOMPARE(trace.Take(),
             Lines("> MeasDeviceDisconnected\n> GetLastErrors\n> IsLoggedIn\nKelvoLoggedOut"));
}

void tst_SharingEnd::aRefusedLogoutStillEndsSharing()
{
    TSessionTrace trace;
    TInSession f(trace);
    f.Script().FailNth(FakeOperation::eLogout, 1, OneError(L"No link."));
    f.Call("OnLogoutFromKelvo");
    f.DeliverNotifications();
    QCOMPARE(trace.Take(),
             Lines("> MeasDeviceDisconnected\n> IsLoggedIn\n> Logout\n> GetLastErrors"));
    QVERIFY(!f.IsTimerRunning());
    QVERIFY(f.hub->IsKelvoLoggedIn());
    f.Tell(false); // the session and sharing can continue
    QVERIFY(f.IsTimerRunning());
}

void tst_SharingEnd::aLostSessionEndsSharingAfterTheReport()
{
    TSessionTrace trace;
    TInSession f(trace);
    f.Sdk().Live()->LoseSession();
    f.DeliverNotifications();
    QCOMPARE(trace.Take(), Lines("KelvoLoggedOut\n> MeasDeviceDisconnected\n> GetLastErrors"));
    QVERIFY(!f.IsTimerRunning());
    QVERIFY(!f.hub->IsKelvoLoggedIn());
}

void tst_SharingEnd::ignoresALostSessionWhileLoggedOut()
{
    TSessionTrace trace;
    TInSession f(trace);
    f.hub->OnLoggedOutOfKelvo();
    f.Call("KelvoNotLoggedIn");
    QVERIFY(trace.Take().isEmpty());
    QVERIFY(f.IsTimerRunning()); // the timer is not stopped
}

void tst_SharingEnd::keepsThePositionAfterTheSession()
{
    TSessionTrace trace;
    TInSession f(trace);
    f.hub->OnLogoutFromKelvoRequested();
    f.DeliverNotifications();
    QVERIFY(!f.IsTimerRunning());
    f.hub->OnLoginToKelvoRequested();
    f.DeliverNotifications();
    QVERIFY(f.IsTimerRunning()); // without another signal of the receiver
    QCOMPARE(f.Positions().size(), std::size_t(2));
}

void tst_SharingEnd::finalizeStopsTheTimerAndEndsSharingFirst()
{
    TSessionTrace trace;
    TInSession f(trace);
    bool isTimerRunning = true;
    f.Script().OnCall(FakeOperation::eMeasDeviceDisconnected,
                      [&](const auto&, const auto&) { isTimerRunning = f.IsTimerRunning(); });
    f.Finish();
    QVERIFY(!isTimerRunning);
    QCOMPARE(SdkCalls(f.Script()), Lines("MeasDeviceDisconnected\nIsLoggedIn\nLogout\n"
                                         "Unsubscribe\nDestroy"));
}

void tst_SharingEnd::finalizeWhileLoggedOutRemovesTheReceiverWithoutALogout()
{
    TSharing f;
    f.Start(ESession::eLoggedOut);
    f.Tell(false);
    f.Script().ClearCalls();
    f.Finish();
    QCOMPARE(SdkCalls(f.Script()), Lines("MeasDeviceDisconnected\nGetLastErrors\nIsLoggedIn\n"
                                         "Unsubscribe\nDestroy"));
}

void tst_SharingEnd::finalizeEndsSharingOnTheWorkersThread()
{
    TRunningWorker f;
    QVERIFY(f.Run());
    QVERIFY(f.LogIn());
    QVERIFY(f.gps.Feed(TSharing::FIX));
    f.gps.AnnounceFix();
    f.Script().ClearCalls();
    f.End();
    const QStringList calls = SdkCalls(f.Script());
    QCOMPARE(calls.mid(calls.size() - 5), Lines("MeasDeviceDisconnected\nIsLoggedIn\nLogout\n"
                                                "Unsubscribe\nDestroy"));
    for (const fakes::FakeCall& call : f.Script().Calls())
        QVERIFY(call.thread != std::this_thread::get_id());
}

KELVO_GUI_TEST_MAIN(tst_SharingEnd)
#include "tst_SharingEnd.moc"
