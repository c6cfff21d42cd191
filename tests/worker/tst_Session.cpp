// Login, the checks after it, and logout: what the SDK is asked and what the worker reports.
#include "support/GuiTestMain.h"
#include "tests/worker/TWorkerFixture.h"

#include <QtTest/QtTest>

#include <algorithm>

using fakes::FakeCall;
using fakes::FakeErrors;
using fakes::FakeOperation;
using fakes::OneError;
using ESession = TWorkerFixture::ESession;

class tst_Session : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void loginHandsTheStoredCredentialsToTheSdk_data();
    void loginHandsTheStoredCredentialsToTheSdk();
    void anAcceptedLoginReportsNothingByItself();
    void aRefusedLoginFailsAtOnceWithTheSdksText();
    void aRefusedLoginWithoutErrorsFailsWithAnEmptyText();
    void aFailedLoginReportsTheSdksText();
    void aFailedLoginWithARecordWithoutTextsGetsTheFallback();
    void aFailedLoginWithoutErrorsReportsAnEmptyText();
    void cancellingALoginDoesNothing();
    void autoLoginNeedsBothCredentials_data();
    void autoLoginNeedsBothCredentials();
    void successReportsChecksAndListingsInOrder();
    void successListsSixProjectsAndNeverJobReports();
    void aSecondSuccessWhileLoggedInStartsNothing();
    void successWithMissingInboxesSetsThemUpInsteadOfListing();
    void theSessionsEndIsReportedOnceWhileLoggedIn();
    void theSessionsEndIsIgnoredWhileLoggedOut();
    void logoutLeavesTheReportToTheSdksNotification();
    void logoutWhileTheSdkIsLoggedOutReportsAtOnce();
    void aFailedLogoutIsSilent();
    void aWholeSessionByNotifications();
};

namespace {

void SetCredentials(const QVariant& user, const QVariant& password)
{
    auto& settings = hostimpl::TConfigStore::Process();
    settings.SetItem(USER_NAME_ITEM, user, false);
    settings.SetItem(PASSWORD_ITEM, password, false);
}

QStringList Texts(const char* text)
{
    return QString::fromUtf8(text).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QList<int> ListedProjects(const fakes::SignalLog& log)
{
    QList<int> projects;
    for (const fakes::LoggedSignal& signal : log.Of(QStringLiteral("NewKelvoProjectFilesList")))
        projects << signal.arguments.first().toInt();
    return projects;
}

} // namespace

void tst_Session::loginHandsTheStoredCredentialsToTheSdk_data()
{
    QTest::addColumn<QVariant>("user");
    QTest::addColumn<QVariant>("password");
    const auto row = [](const char* name, const QVariant& user, const QVariant& password) {
        QTest::newRow(name) << user << password;
    };
    row("plain", QStringLiteral("olga"), QStringLiteral("secret"));
    row("beyond ASCII", QString::fromUtf8("J\xC3\xBCrgen \xF0\x9F\x9A\x9C"),
        QString::fromUtf8("pa\xC3\x9F\xF0\x9F\x94\x91"));
    row("empty ones go as they are", QString(), QString());
    row("never stored", QVariant(), QVariant());
    row("spaces stay", QStringLiteral(" olga "), QStringLiteral("\tsecret "));
    row("long", QString(500, QLatin1Char('u')), QString(500, QLatin1Char('p')));
}

void tst_Session::loginHandsTheStoredCredentialsToTheSdk()
{
    QFETCH(QVariant, user);
    QFETCH(QVariant, password);
    TWorkerFixture f;
    SetCredentials(user, password);
    f.Start(ESession::eLoggedOut);
    f.Call("OnLoginToKelvo");
    const std::vector<FakeCall> calls = f.Script().Calls(FakeOperation::eLogin);
    QCOMPARE(calls.size(), std::size_t(1));
    QVERIFY(calls.front().text == user.toString().toStdWString());
    QVERIFY(calls.front().secret == password.toString().toStdWString());
    QVERIFY(calls.front().reserved == nullptr);
    QCOMPARE(calls.front().reservedFlags, 0U);
}

void tst_Session::anAcceptedLoginReportsNothingByItself()
{
    TWorkerFixture f;
    const auto gate = std::make_shared<fakes::FakeGate>();
    f.Script().HoldLoginOutcome(gate);
    f.Start(ESession::eLoggedOut);
    f.Call("OnLoginToKelvo");
    QVERIFY(f.workerLog.All().isEmpty());
    QVERIFY(gate->WaitUntilReached());
    QCoreApplication::sendPostedEvents();
    QCOMPARE(f.workerLog.Texts(), Texts("KelvoLoginInProgress()"));
    gate->Open();
}

void tst_Session::aRefusedLoginFailsAtOnceWithTheSdksText()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.Script().FailNth(FakeOperation::eLogin, 1, OneError(L"<b>No</b> link.", L"Try later."));
    f.Call("OnLoginToKelvo");
    QCOMPARE(f.workerLog.Texts(),
             QStringList{QStringLiteral("KelvoLoginFailed(No link.\nTry later.)")});
    QCOMPARE(f.hubLog.Texts(),
             QStringList{QStringLiteral("KelvoLoginFailed(No link.\nTry later.)")});
}

void tst_Session::aRefusedLoginWithoutErrorsFailsWithAnEmptyText()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.Script().FailNth(FakeOperation::eLogin, 1, FakeErrors());
    f.Call("OnLoginToKelvo");
    QCOMPARE(f.workerLog.Texts(), Texts("KelvoLoginFailed()"));
}

void tst_Session::aFailedLoginReportsTheSdksText()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.Script().FailNextLoginOutcome(OneError(L"Login failed", L"Login failed"));
    f.Call("OnLoginToKelvo");
    f.DeliverNotifications();
    QCOMPARE(f.workerLog.Texts(), Texts("KelvoLoginInProgress()\nKelvoLoginFailed(Login failed)"));
    QVERIFY(!f.hub->IsKelvoLoggedIn());
    QVERIFY(!f.hub->IsKelvoLoginInProgress());
}

void tst_Session::aFailedLoginWithARecordWithoutTextsGetsTheFallback()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.Script().FailNextLoginOutcome(OneError({}));
    f.Call("OnLoginToKelvo");
    f.DeliverNotifications();
    QCOMPARE(f.workerLog.Texts().last(),
             QStringLiteral("KelvoLoginFailed(Unknown error occurred)"));
}

void tst_Session::aFailedLoginWithoutErrorsReportsAnEmptyText()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.Script().FailNextLoginOutcome(FakeErrors());
    f.Call("OnLoginToKelvo");
    f.DeliverNotifications();
    QCOMPARE(f.workerLog.Texts().last(), QStringLiteral("KelvoLoginFailed()"));
}

void tst_Session::cancellingALoginDoesNothing()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.Call("OnLoginToKelvo");
    f.Script().ClearCalls();
    f.Call("OnCancelLoginToKelvo");
    QVERIFY(f.Script().Calls().empty());
    QVERIFY(f.workerLog.All().isEmpty());
    f.DeliverNotifications();
    QVERIFY(f.hub->IsKelvoLoggedIn()); // the login runs to its end
}

void tst_Session::autoLoginNeedsBothCredentials_data()
{
    QTest::addColumn<QVariant>("user");
    QTest::addColumn<QVariant>("password");
    QTest::addColumn<bool>("logsIn");
    QTest::newRow("both") << QVariant(QStringLiteral("olga")) << QVariant(QStringLiteral("secret"))
                          << true;
    QTest::newRow("no user name") << QVariant(QString()) << QVariant(QStringLiteral("secret"))
                                  << false;
    QTest::newRow("no password") << QVariant(QStringLiteral("olga")) << QVariant(QString())
                                 << false;
    QTest::newRow("neither was ever stored") << QVariant() << QVariant() << false;
}

void tst_Session::autoLoginNeedsBothCredentials()
{
    QFETCH(QVariant, user);
    QFETCH(QVariant, password);
    QFETCH(bool, logsIn);
    TWorkerFixture f;
    SetCredentials(user, password);
    f.Start(ESession::eLoggedOut);
    f.worker->AutoLogin();
    QCOMPARE(f.Script().Count(FakeOperation::eLogin), std::size_t(logsIn ? 1 : 0));
    if (!logsIn) {
        QVERIFY(f.Script().Calls().empty());
        QVERIFY(f.workerLog.All().isEmpty());
    }
}

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
    QCOMPARE(own, Texts(R"(
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
    QCOMPARE(created, Texts("From Console\nAB Lines\nCurves\nOptimal Lines\nProject Lines"));
    // No listing before the set-up was complete: those that follow come by notification.
    const QStringList all = f.workerLog.Names();
    QVERIFY(all.indexOf(QStringLiteral("NewKelvoProjectFilesList")) == -1 ||
            all.indexOf(QStringLiteral("NewKelvoProjectFilesList")) >
                all.indexOf(QStringLiteral("KelvoUserInboxSetupComplete")));
}

void tst_Session::theSessionsEndIsReportedOnceWhileLoggedIn()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedIn);
    f.Sdk().Live()->LoseSession();
    f.DeliverNotifications();
    QCOMPARE(f.workerLog.Texts(), Texts("KelvoLoggedOut()"));
    QVERIFY(!f.hub->IsKelvoLoggedIn());
    f.Call("KelvoNotLoggedIn");
    QCOMPARE(f.workerLog.Count(QStringLiteral("KelvoLoggedOut")), 1);
}

void tst_Session::theSessionsEndIsIgnoredWhileLoggedOut()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.Call("KelvoNotLoggedIn");
    QVERIFY(f.workerLog.All().isEmpty());
    QVERIFY(f.hubLog.All().isEmpty());
}

void tst_Session::logoutLeavesTheReportToTheSdksNotification()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedIn);
    f.Call("OnLogoutFromKelvo");
    QCOMPARE(f.Script().Count(FakeOperation::eLogout), std::size_t(1));
    QVERIFY(f.workerLog.All().isEmpty());
    f.DeliverNotifications();
    QCOMPARE(f.workerLog.Texts(), Texts("KelvoLoggedOut()"));
}

void tst_Session::logoutWhileTheSdkIsLoggedOutReportsAtOnce()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.hub->OnLoggedIntoKelvo(); // the hub lags behind
    f.Call("OnLogoutFromKelvo");
    QCOMPARE(f.workerLog.Texts(), Texts("KelvoLoggedOut()"));
    QCOMPARE(f.Script().Count(FakeOperation::eLogout), std::size_t(0));
}

void tst_Session::aFailedLogoutIsSilent()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedIn);
    f.Script().FailNth(FakeOperation::eLogout, 1, OneError(L"no link"));
    f.Call("OnLogoutFromKelvo");
    f.DeliverNotifications();
    QVERIFY(f.workerLog.All().isEmpty());
    QVERIFY(f.hub->IsKelvoLoggedIn());
}

void tst_Session::aWholeSessionByNotifications()
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
