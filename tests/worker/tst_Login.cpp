// Login: the credentials, and the report of a failure.
#include "support/GuiTestMain.h"
#include "tests/fakes/Declarations.h"
#include "tests/worker/TWorkerFixture.h"

#include <QtTest/QtTest>

using fakes::FakeCall;
using fakes::FakeErrors;
using fakes::FakeOperation;
using fakes::OneError;
using ESession = TWorkerFixture::ESession;

using fakes::Lines;

class tst_Login : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void loginPassesTheStoredCredentialsToTheSdk_data();
    void loginPassesTheStoredCredentialsToTheSdk();
    void anAcceptedLoginReportsNothingByItself();
    void aRefusedLoginFailsAtOnceWithTheSdksText();
    void aRefusedLoginWithoutErrorsFailsWithAnEmptyText();
    void aFailedLoginReportsTheSdksText();
    void reportsTheFallbackTextForARecordWithoutTexts();
    void aFailedLoginWithoutErrorsReportsAnEmptyText();
    void cancellingALoginDoesNothing();
    void autoLoginNeedsBothCredentials_data();
    void autoLoginNeedsBothCredentials();
};

void tst_Login::loginPassesTheStoredCredentialsToTheSdk_data()
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

void tst_Login::loginPassesTheStoredCredentialsToTheSdk()
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

void tst_Login::anAcceptedLoginReportsNothingByItself()
{
    TWorkerFixture f;
    const auto gate = std::make_shared<fakes::FakeGate>();
    f.Script().HoldLoginOutcome(gate);
    f.Start(ESession::eLoggedOut);
    f.Call("OnLoginToKelvo");
    QVERIFY(f.workerLog.All().isEmpty());
    QVERIFY(gate->WaitUntilReached());
    QCoreApplication::sendPostedEvents();
    QCOMPARE(f.workerLog.Texts(), Lines("KelvoLoginInProgress()"));
    gate->Open();
}

void tst_Login::aRefusedLoginFailsAtOnceWithTheSdksText()
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

void tst_Login::aRefusedLoginWithoutErrorsFailsWithAnEmptyText()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.Script().FailNth(FakeOperation::eLogin, 1, FakeErrors());
    f.Call("OnLoginToKelvo");
    QCOMPARE(f.workerLog.Texts(), Lines("KelvoLoginFailed()"));
}

void tst_Login::aFailedLoginReportsTheSdksText()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.Script().FailNextLoginOutcome(OneError(L"Login failed", L"Login failed"));
    f.Call("OnLoginToKelvo");
    f.DeliverNotifications();
    QCOMPARE(f.workerLog.Texts(), Lines("KelvoLoginInProgress()\nKelvoLoginFailed(Login failed)"));
    QVERIFY(!f.hub->IsKelvoLoggedIn());
    QVERIFY(!f.hub->IsKelvoLoginInProgress());
}

void tst_Login::reportsTheFallbackTextForARecordWithoutTexts()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.Script().FailNextLoginOutcome(OneError({}));
    f.Call("OnLoginToKelvo");
    f.DeliverNotifications();
    QCOMPARE(f.workerLog.Texts().last(),
             QStringLiteral("KelvoLoginFailed(Unknown error occurred)"));
}

void tst_Login::aFailedLoginWithoutErrorsReportsAnEmptyText()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.Script().FailNextLoginOutcome(FakeErrors());
    f.Call("OnLoginToKelvo");
    f.DeliverNotifications();
    QCOMPARE(f.workerLog.Texts().last(), QStringLiteral("KelvoLoginFailed()"));
}

void tst_Login::cancellingALoginDoesNothing()
{
    TWorkerFixture f;
    f.Start(ESession::eLoggedOut);
    f.Call("OnLoginToKelvo");
    f.Script().ClearCalls();
    f.Call("OnCancelLoginToKelvo");
    QVERIFY(f.Script().Calls().empty());
    QVERIFY(f.workerLog.All().isEmpty());
    f.DeliverNotifications();
    QVERIFY(f.hub->IsKelvoLoggedIn()); // the login is not cancelled
}

void tst_Login::autoLoginNeedsBothCredentials_data()
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

void tst_Login::autoLoginNeedsBothCredentials()
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

KELVO_GUI_TEST_MAIN(tst_Login)
#include "tst_Login.moc"
