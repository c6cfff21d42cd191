// The steps after a login, in order: the environment report, the account check, sharing, lists.
#include "support/GuiTestMain.h"
#include "tests/fakes/Declarations.h"
#include "tests/worker/TRunningWorker.h"
#include "tests/worker/TSessionTrace.h"
#include "tests/worker/TSharing.h"

#include <QtTest/QtTest>

using fakes::FakeErrors;
using fakes::FakeOperation;
using fakes::Lines;
using fakes::OneError;
using ESession = TWorkerFixture::ESession;

class tst_PostLoginChecks : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void runsTheStepsInOrder();
    void sendsTheConsolesEnvironment();
    void skipsOnlyTheSharingWithoutAPosition();
    void aRefusedEnvironmentEndsTheChecks_data();
    void aRefusedEnvironmentEndsTheChecks();
    void keepsTheSessionAfterARefusedEnvironment();
    void listsTheFilesAfterARefusedRegistration();
    void missingInboxesAreSetUpInsteadOfSharing();
    void aSecondSuccessReportsNothingAgain();
    void everyLoginReportsTheEnvironmentAnew();
    void sharingWaitsForTheNextReportWhileTheHubIsNotLoggedIn();
};

namespace {

// This test does not check the single calls of the account check and the listings: each sequence of
// such calls becomes one line.
QStringList Steps(const QStringList& events)
{
    const QStringList queries{
        QStringLiteral("> GetProjects"), QStringLiteral("> GetProjectResources"),
        QStringLiteral("> GetResourceWithContent"), QStringLiteral("> GetCurrentUser")};
    QStringList steps;
    for (const QString& event : events) {
        const QString step = queries.contains(event) ? QStringLiteral("> queries") : event;
        if (steps.isEmpty() || steps.last() != step || step != QStringLiteral("> queries"))
            steps << step;
    }
    return steps;
}

constexpr const char* SIX_LISTS = R"(
> queries
NewKelvoProjectFilesList
> queries
NewKelvoProjectFilesList
> queries
NewKelvoProjectFilesList
> queries
NewKelvoProjectFilesList
> queries
NewKelvoProjectFilesList
> queries
NewKelvoProjectFilesList
)";

constexpr const char* CHECKED = R"(
KelvoLoggedIn
PostLoginChecksInProgress
> SendEnvironment
> queries
PostLoginChecksComplete
)";

constexpr const char* LEFT_ALONE = R"(
KelvoLoggedIn
PostLoginChecksInProgress
> SendEnvironment
PostLoginChecksComplete
> GetLastErrors
)";

// The worker knows a position. The SDK is logged in, the hub is not yet.
class TAboutToCheck : public TSharing
{
public:
    explicit TAboutToCheck(TSessionTrace& trace, bool hasPosition = true)
    {
        trace.Follow(*this);
        StartLoggedInAtTheSdkOnly();
        if (hasPosition)
            Tell(false);
        trace.Take();
    }
};

} // namespace

void tst_PostLoginChecks::runsTheStepsInOrder()
{
    TSessionTrace trace;
    TAboutToCheck f(trace);
    f.Call("KelvoLoginSuccessful");
    QCOMPARE(Steps(trace.Take()),
             Lines(CHECKED) + Lines("> MeasDeviceConnected\n> IsLoggedIn\n> ReportPosition") +
                 Lines(SIX_LISTS));
    QVERIFY(f.IsTimerRunning());
}

void tst_PostLoginChecks::sendsTheConsolesEnvironment()
{
    hostimpl::TConfigStore& settings = hostimpl::TConfigStore::Process();
    settings.SetItem(hostimpl::eEthernetNameItem, QStringLiteral("lo"), false);
    settings.SetItem(hostimpl::eConsoleStringItem, QStringLiteral("Cab-0123456789"), false);
    TSharing f;
    f.StartLoggedInAtTheSdkOnly();
    f.Tell(false);
    f.Call("KelvoLoginSuccessful");
    settings.SetItem(hostimpl::eEthernetNameItem, {}, false);
    settings.SetItem(hostimpl::eConsoleStringItem, {}, false);
    QCOMPARE(f.Sdk().Live()->Environments().size(), std::size_t(1));
    const kesdk::api::Environment environment = f.Sdk().Live()->Environments().front();
    QVERIFY(environment.console.consoleString == L"Cab-01234");
    QVERIFY(environment.console.hostString == L"Host 1.0"); // the constructor's argument
    QVERIFY(environment.console.controllerHardwareAddress == L"00:00:00:00:00:00");
    QVERIFY(environment.controller.hardwareAddress == L"00:00:00:00:00:00");
    const auto devices = f.Sdk().Live()->DeviceReports();
    QCOMPARE(devices.size(), std::size_t(1));
    QVERIFY(devices.front().report.device.hardwareAddress == L"00:00:00:00:00:00");
    QVERIFY(devices.front().report.device.consoleString == L"Cab-01234");
}

void tst_PostLoginChecks::skipsOnlyTheSharingWithoutAPosition()
{
    TSessionTrace trace;
    TAboutToCheck f(trace, false);
    f.Call("KelvoLoginSuccessful");
    QCOMPARE(Steps(trace.Take()), Lines(CHECKED) + Lines(SIX_LISTS));
    QVERIFY(!f.IsTimerRunning());
}

void tst_PostLoginChecks::aRefusedEnvironmentEndsTheChecks_data()
{
    QTest::addColumn<bool>("hasText");
    QTest::addColumn<bool>("hasInboxes");
    QTest::newRow("with an error") << true << true;
    QTest::newRow("without errors") << false << true;
    QTest::newRow("inboxes are missing") << true << false;
}

void tst_PostLoginChecks::aRefusedEnvironmentEndsTheChecks()
{
    QFETCH(bool, hasText);
    QFETCH(bool, hasInboxes);
    TSessionTrace trace;
    TAboutToCheck f(trace);
    if (!hasInboxes)
        f.Sdk().Live()->StartLoggedIn(f.Farm().AddUser(L"piet", L"word"));
    f.Script().FailNth(FakeOperation::eSendEnvironment, 1,
                       hasText ? OneError(L"No <b>link</b>.") : FakeErrors());
    f.Call("KelvoLoginSuccessful");
    f.DeliverNotifications();
    QCOMPARE(trace.Take(), Lines(LEFT_ALONE));
    QVERIFY(!f.IsTimerRunning());
    QCOMPARE(f.hubLog.Count(QStringLiteral("KelvoLoginFailed")), 0); // the operator gets no error
}

void tst_PostLoginChecks::keepsTheSessionAfterARefusedEnvironment()
{
    TSessionTrace trace;
    TAboutToCheck f(trace);
    f.Script().FailNth(FakeOperation::eSendEnvironment, 1, OneError(L"No link."));
    f.Call("KelvoLoginSuccessful");
    QVERIFY(f.hub->IsKelvoLoggedIn());
    trace.Take();
    f.Tell(false); // sharing starts when the receiver next reports a position
    QCOMPARE(trace.Take(), Lines("> MeasDeviceConnected\n> IsLoggedIn\n> ReportPosition"));
    f.Call("KelvoLoginSuccessful"); // a repeated success does not repeat the checks
    QVERIFY(trace.Take().isEmpty());
}

void tst_PostLoginChecks::listsTheFilesAfterARefusedRegistration()
{
    TSessionTrace trace;
    TAboutToCheck f(trace);
    f.Script().FailNth(FakeOperation::eMeasDeviceConnected, 1, OneError(L"No link."));
    f.Call("KelvoLoginSuccessful");
    QCOMPARE(Steps(trace.Take()),
             Lines(CHECKED) + Lines("> MeasDeviceConnected\n> GetLastErrors") + Lines(SIX_LISTS));
    QVERIFY(!f.IsTimerRunning());
}

void tst_PostLoginChecks::missingInboxesAreSetUpInsteadOfSharing()
{
    TSessionTrace trace;
    TAboutToCheck f(trace);
    f.Sdk().Live()->StartLoggedIn(f.Farm().AddUser(L"piet", L"word"));
    f.Call("KelvoLoginSuccessful");
    const QStringList events = trace.Take();
    QCOMPARE(Steps(events).mid(0, 6),
             Lines(CHECKED) + QStringList{QStringLiteral("KelvoUserInboxSetupInProgress")});
    QCOMPARE(events.count(QStringLiteral("> CreateUserInbox")), 7);
    QCOMPARE(events.last(), QStringLiteral("KelvoUserInboxSetupComplete"));
    QVERIFY(!events.contains(QStringLiteral("> MeasDeviceConnected")));
    QVERIFY(!events.contains(QStringLiteral("> ReportPosition")));
    QVERIFY(!events.contains(QStringLiteral("NewKelvoProjectFilesList")));
    QVERIFY(!f.IsTimerRunning());
}

void tst_PostLoginChecks::aSecondSuccessReportsNothingAgain()
{
    TSessionTrace trace;
    TAboutToCheck f(trace);
    f.Call("KelvoLoginSuccessful");
    trace.Take();
    f.Call("KelvoLoginSuccessful");
    QVERIFY(trace.Take().isEmpty());
}

void tst_PostLoginChecks::everyLoginReportsTheEnvironmentAnew()
{
    TSharing f;
    f.Start(ESession::eLoggedOut);
    f.Tell(false);
    for (std::size_t login = 1; login <= 3; ++login) {
        f.hub->OnLoginToKelvoRequested();
        f.DeliverNotifications();
        QCOMPARE(f.Sdk().Live()->Environments().size(), login);
        QVERIFY(f.IsTimerRunning());
        f.hub->OnLogoutFromKelvoRequested();
        f.DeliverNotifications();
        QVERIFY(!f.IsTimerRunning());
    }
    const auto& environments = f.Sdk().Live()->Environments();
    QVERIFY(environments.at(0).timeStampMs <= environments.at(1).timeStampMs);
    QVERIFY(environments.at(1).timeStampMs <= environments.at(2).timeStampMs);
}

// The hub's thread runs no slot until the worker has finished all steps after a login.
void tst_PostLoginChecks::sharingWaitsForTheNextReportWhileTheHubIsNotLoggedIn()
{
    TRunningWorker f;
    QVERIFY(f.Run());
    QVERIFY(f.gps.Feed(TSharing::FIX));
    f.hub->OnLoginToKelvoRequested();
    QElapsedTimer elapsed;
    elapsed.start();
    const QString list = QStringLiteral("NewKelvoProjectFilesList");
    while (f.workerLog.Count(list) < 6 && elapsed.elapsed() < 30000)
        QThread::yieldCurrentThread();
    QCOMPARE(f.workerLog.Count(list), 6);
    QCOMPARE(f.Script().Count(FakeOperation::eSendEnvironment), std::size_t(1));
    QCOMPARE(f.Script().Count(FakeOperation::eMeasDeviceConnected), std::size_t(0));
    QCOMPARE(f.Script().Count(FakeOperation::eReportPosition), std::size_t(0));

    QVERIFY(f.hubLog.WaitFor(list, 6));
    QVERIFY(f.hub->IsKelvoLoggedIn());
    f.gps.AnnounceFix();
    while (f.Script().Count(FakeOperation::eReportPosition) == 0 && elapsed.elapsed() < 30000)
        QThread::yieldCurrentThread();
    QCOMPARE(f.Script().Count(FakeOperation::eMeasDeviceConnected), std::size_t(1));
    QCOMPARE(f.Script().Count(FakeOperation::eReportPosition), std::size_t(1));
    for (const FakeOperation operation :
         {FakeOperation::eSendEnvironment, FakeOperation::eMeasDeviceConnected,
          FakeOperation::eReportPosition})
        QVERIFY(f.Script().Calls(operation).front().thread != std::this_thread::get_id());
    f.End(); // the timer is stopped on its own thread, or Qt warns
}

KELVO_GUI_TEST_MAIN(tst_PostLoginChecks)
#include "tst_PostLoginChecks.moc"
