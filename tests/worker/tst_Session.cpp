// The checks after a login, and the end of the session: the SDK calls and the worker's signals.
#include "support/GuiTestMain.h"
#include "tests/fakes/Declarations.h"
#include "tests/worker/TWorkerFixture.h"

#include <QtTest/QtTest>

using fakes::FakeCall;
using fakes::FakeOperation;
using fakes::OneError;
using ESession = TWorkerFixture::ESession;

using fakes::Lines;

class tst_Session : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void successReportsChecksAndListingsInOrder();
    void successListsSixProjectsAndNeverJobReports();
    void aSecondSuccessWhileLoggedInStartsNothing();
    void successWithMissingInboxesSetsThemUpInsteadOfListing();
    void reportsTheEndOfTheSessionOnce();
    void ignoresTheEndOfTheSessionWhileLoggedOut();
    void logoutIsReportedByTheSdksNotification();
    void logoutWhileTheSdkIsLoggedOutReportsAtOnce();
    void aFailedLogoutEmitsNothing();
    void runsAWholeSessionByNotifications();
};

namespace {

QList<int> ListedProjects(const fakes::SignalLog& log)
{
    QList<int> projects;
    for (const fakes::LoggedSignal& signal : log.Of(QStringLiteral("NewKelvoProjectFilesList")))
        projects << signal.arguments.first().toInt();
    return projects;
}

} // namespace

void tst_Session::successReportsChecksAndListingsInOrder()
{
    TWorkerFixture f;
    f.Farm().AddFile(f.Inbox(eCurves), L"curve.zip", "content");
    f.Start(ESession::eLoggedOut);
    f.Call("OnLoginToKelvo");
    f.DeliverNotifications();
    const std::int64_t fileId = f.Farm().Find(f.Inbox(eCurves), f.userId).content.front().id;
    const QString curves = QStringLiteral("NewKelvoProjectFilesList(3,[%1:curve.zip])").arg(fileId);
    QCOMPARE(
        f.workerLog.Texts(),
        (QStringList{QStringLiteral("KelvoLoginInProgress()"), QStringLiteral("KelvoLoggedIn()"),
                     QStringLiteral("PostLoginChecksInProgress()"),
                     QStringLiteral("PostLoginChecksComplete()"),
                     QStringLiteral("NewKelvoProjectFilesList(0,[])"),
                     QStringLiteral("NewKelvoProjectFilesList(2,[])"), curves,
                     QStringLiteral("NewKelvoProjectFilesList(4,[])"),
                     QStringLiteral("NewKelvoProjectFilesList(5,[])"),
                     QStringLiteral("NewKelvoProjectFilesList(6,[])")}));
}

void tst_Session::successListsSixProjectsAndNeverJobReports()
{
    TWorkerFixture f;
    f.Farm().AddFile(f.Inbox(eJobReports), L"report.zip", "content");
    f.Start(ESession::eLoggedOut);
    f.Call("OnLoginToKelvo");
    f.DeliverNotifications();
    QCOMPARE(ListedProjects(f.workerLog), (QList<int>{0, 2, 3, 4, 5, 6}));
    for (const FakeCall& call : f.Script().Calls(FakeOperation::eGetResourceWithContent))
        QVERIFY(call.id != f.Inbox(eJobReports));
}

void tst_Session::aSecondSuccessWhileLoggedInStartsNothing()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedIn);
    f.Call("KelvoLoginSuccessful");
    QVERIFY(f.workerLog.All().isEmpty());
    QVERIFY(f.hubLog.All().isEmpty());
    QVERIFY(f.Script().Calls().empty());
}

void tst_Session::successWithMissingInboxesSetsThemUpInsteadOfListing()
{
    TWorkerFixture f;
    // A user who has inboxes in two of the seven projects only.
    const std::int64_t piet = f.Farm().AddUser(L"piet", L"word");
    f.Farm().AddInbox(L"To Console", piet);
    f.Farm().AddInbox(L"Pivots", piet);
    SetCredentials(QStringLiteral("piet"), QStringLiteral("word"));
    f.Start(ESession::eLoggedOut);
    f.Call("OnLoginToKelvo");
    f.DeliverNotifications();
    QStringList own;
    for (const QString& text : f.workerLog.Texts()) {
        if (!text.startsWith(QLatin1String("NewKelvoProjectFilesList")))
            own << text;
    }
    QCOMPARE(own, Lines(R"(
KelvoLoginInProgress()
KelvoLoggedIn()
PostLoginChecksInProgress()
PostLoginChecksComplete()
KelvoUserInboxSetupInProgress(0)
KelvoUserInboxSetupInProgress(20)
KelvoUserInboxSetupInProgress(40)
KelvoUserInboxSetupInProgress(60)
KelvoUserInboxSetupInProgress(80)
KelvoUserInboxSetupInProgress(100)
KelvoUserInboxSetupComplete([])
)"));
    QStringList created;
    for (const FakeCall& call : f.Script().Calls(FakeOperation::eCreateUserInbox))
        created << QString::fromStdWString(call.text);
    QCOMPARE(created, Lines("From Console\nAB Lines\nCurves\nOptimal Lines\nProject Lines"));
    // No listing before the end of the set-up. Notifications lead to the later listings.
    const QStringList all = f.workerLog.Names();
    QVERIFY(all.indexOf(QStringLiteral("NewKelvoProjectFilesList")) == -1 ||
            all.indexOf(QStringLiteral("NewKelvoProjectFilesList")) >
                all.indexOf(QStringLiteral("KelvoUserInboxSetupComplete")));
}

void tst_Session::reportsTheEndOfTheSessionOnce()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedIn);
    f.Sdk().Live()->LoseSession();
    f.DeliverNotifications();
    QCOMPARE(f.workerLog.Texts(), Lines("KelvoLoggedOut()"));
    QVERIFY(!f.hub->IsKelvoLoggedIn());
    f.Call("KelvoNotLoggedIn");
    QCOMPARE(f.workerLog.Count(QStringLiteral("KelvoLoggedOut")), 1);
}

void tst_Session::ignoresTheEndOfTheSessionWhileLoggedOut()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.Call("KelvoNotLoggedIn");
    QVERIFY(f.workerLog.All().isEmpty());
    QVERIFY(f.hubLog.All().isEmpty());
}

void tst_Session::logoutIsReportedByTheSdksNotification()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedIn);
    f.Call("OnLogoutFromKelvo");
    QCOMPARE(f.Script().Count(FakeOperation::eLogout), std::size_t(1));
    QVERIFY(f.workerLog.All().isEmpty());
    f.DeliverNotifications();
    QCOMPARE(f.workerLog.Texts(), Lines("KelvoLoggedOut()"));
}

void tst_Session::logoutWhileTheSdkIsLoggedOutReportsAtOnce()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.hub->OnLoggedIntoKelvo(); // the hub still has the old state
    f.Call("OnLogoutFromKelvo");
    QCOMPARE(f.workerLog.Texts(), Lines("KelvoLoggedOut()"));
    QCOMPARE(f.Script().Count(FakeOperation::eLogout), std::size_t(0));
}

void tst_Session::aFailedLogoutEmitsNothing()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedIn);
    f.Script().FailNth(FakeOperation::eLogout, 1, OneError(L"no link"));
    f.Call("OnLogoutFromKelvo");
    f.DeliverNotifications();
    QVERIFY(f.workerLog.All().isEmpty());
    QVERIFY(f.hub->IsKelvoLoggedIn());
}

void tst_Session::runsAWholeSessionByNotifications()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    for (int round = 0; round < 3; ++round) {
        f.workerLog.Clear();
        f.hub->OnLoginToKelvoRequested();
        f.DeliverNotifications();
        QVERIFY(f.hub->IsKelvoLoggedIn());
        f.hub->OnLogoutFromKelvoRequested();
        f.DeliverNotifications();
        QVERIFY(!f.hub->IsKelvoLoggedIn());
        QCOMPARE(f.workerLog.Count(QStringLiteral("KelvoLoggedIn")), 1);
        QCOMPARE(f.workerLog.Count(QStringLiteral("KelvoLoggedOut")), 1);
    }
}

KELVO_GUI_TEST_MAIN(tst_Session)
#include "tst_Session.moc"
