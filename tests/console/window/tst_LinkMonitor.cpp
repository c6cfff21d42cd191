// The link monitor: the state of the link after the hub's signals.
#include "console/window/TLinkMonitor.h"
#include "support/TTestCase.h"
#include "support/TestMain.h"

#include <QtTest/QSignalSpy>

using console::EHubSignal;
using console::ELinkState;

class TLinkMonitorTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    // The state after the signals.
    static ELinkState After(console::TLinkMonitor& monitor, const QList<EHubSignal>& hubSignals)
    {
        for (const EHubSignal hubSignal : hubSignals) {
            console::THubEvent event;
            event.signal = hubSignal;
            if (hubSignal == EHubSignal::eLoginFailed) {
                event.message = QStringLiteral("There is no way to the service.");
            }
            monitor.OnHubEvent(event);
        }
        return monitor.State();
    }

    static ELinkState After(const QList<EHubSignal>& hubSignals)
    {
        console::TLinkMonitor monitor;
        monitor.SetAvailable(true);
        return After(monitor, hubSignals);
    }

private Q_SLOTS:
    void hasNoLinkWithoutAPlugin()
    {
        console::TLinkMonitor monitor;
        QCOMPARE(monitor.State(), ELinkState::eNone);
        monitor.SetAvailable(true);
        QCOMPARE(monitor.State(), ELinkState::eLoggedOut);
        monitor.SetAvailable(false);
        QCOMPARE(monitor.State(), ELinkState::eNone);
    }

    void followsALogin()
    {
        QCOMPARE(After({EHubSignal::eLoginRequested, EHubSignal::eLoginInProgress}),
                 ELinkState::eConnecting);
        QCOMPARE(After({EHubSignal::eLoginRequested, EHubSignal::eLoginInProgress,
                        EHubSignal::eLoggedIn}),
                 ELinkState::eUp);
    }

    void keepsTheReasonOfAFailedLogin()
    {
        console::TLinkMonitor monitor;
        monitor.SetAvailable(true);
        QCOMPARE(After(monitor, {EHubSignal::eLoginInProgress, EHubSignal::eLoginFailed}),
                 ELinkState::eFailed);
        QCOMPARE(monitor.Reason(), QStringLiteral("There is no way to the service."));
        // The state stays "failed" after the LoggedOut that follows.
        QCOMPARE(After(monitor, {EHubSignal::eLoggedOut}), ELinkState::eFailed);
        QCOMPARE(After(monitor, {EHubSignal::eLoginInProgress}), ELinkState::eConnecting);
        QVERIFY(monitor.Reason().isEmpty());
    }

    void doesNotReportACancelledLoginAsFailed()
    {
        QCOMPARE(After({EHubSignal::eLoginInProgress, EHubSignal::eCancelLoginRequested,
                        EHubSignal::eLoginFailed}),
                 ELinkState::eLoggedOut);
    }

    void distinguishesALogoutFromALostSession()
    {
        QCOMPARE(
            After({EHubSignal::eLoggedIn, EHubSignal::eLogoutRequested, EHubSignal::eLoggedOut}),
            ELinkState::eLoggedOut);
        QCOMPARE(After({EHubSignal::eLoggedIn, EHubSignal::eLoggedOut}), ELinkState::eLost);
        // A logout of an earlier session does not count.
        QCOMPARE(
            After({EHubSignal::eLoggedIn, EHubSignal::eLogoutRequested, EHubSignal::eLoggedOut,
                   EHubSignal::eLoginRequested, EHubSignal::eLoggedIn, EHubSignal::eLoggedOut}),
            ELinkState::eLost);
    }

    void ignoresSignalsAboutFiles()
    {
        console::TLinkMonitor monitor;
        monitor.SetAvailable(true);
        QSignalSpy changed(&monitor, &console::TLinkMonitor::Changed);
        QCOMPARE(After(monitor, {EHubSignal::eUploadComplete, EHubSignal::eNewProjectFilesList,
                                 EHubSignal::eUserInboxSetupInProgress}),
                 ELinkState::eLoggedOut);
        QCOMPARE(changed.count(), 0);
    }
};

KELVO_TEST_MAIN(TLinkMonitorTest)
#include "tst_LinkMonitor.moc"
