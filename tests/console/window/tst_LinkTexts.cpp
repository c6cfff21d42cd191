// The words of the status bar about the link.
#include "console/window/StatusTexts.h"
#include "hostimpl/Clock.h"
#include "support/TTestCase.h"
#include "support/TestMain.h"

#include <QtCore/QDateTime>

using kesdkimpl::EProblem;
using kesdkimpl::ESession;

class TLinkTextsTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    static constexpr const char* connected = "Connected";

    // Offline since 11:30 of this day of November 2026; today is the 22nd, a Sunday.
    static kesdkimpl::LinkStatus Offline(ESession session, EProblem problem, int day = 22)
    {
        kesdkimpl::LinkStatus status;
        status.session = session;
        status.problem = problem;
        status.offlineSince = kesdkimpl::Moment();
        status.offlineSince->wallS = QDateTime({2026, 11, day}, {11, 30}).toSecsSinceEpoch();
        return status;
    }

private Q_SLOTS:
    void init()
    {
        hostimpl::SetClock([] { return QDateTime({2026, 11, 22}, {13, 37}); });
    }
    void cleanup()
    {
        hostimpl::SetClock({});
        TTestCase::cleanup();
    }

    void tellsAWrongClockWhileTheServiceAnswers()
    {
        kesdkimpl::LinkStatus status;
        status.isClockOff = true;
        status.session = ESession::eLoggedIn;
        QCOMPARE(console::LinkWords(status).text, QStringLiteral("Clock is wrong"));
        status.session = ESession::eLoggedOut;
        QCOMPARE(console::LinkWords(status).text, QStringLiteral("Logged out"));
        status = Offline(ESession::eLoggedIn, EProblem::eNoNetwork);
        status.isClockOff = true;
        QVERIFY(console::LinkWords(status).text.startsWith(QStringLiteral("No network")));
    }

    void namesEachSession_data()
    {
        QTest::addColumn<int>("session");
        QTest::addColumn<QString>("text");
        const auto row = [](ESession session, const char* text) {
            QTest::addRow("%d", static_cast<int>(session))
                << static_cast<int>(session) << QString::fromLatin1(text);
        };
        row(ESession::eNoConnection, "No connection");
        row(ESession::eLoggedOut, "Logged out");
        row(ESession::eLoginFailed, "Logged out");
        row(ESession::eSessionEnded, "Logged out");
        row(ESession::eConnecting, "Connecting...");
        row(ESession::eLoggedIn, connected);
    }

    void namesEachSession()
    {
        QFETCH(int, session);
        QFETCH(QString, text);
        kesdkimpl::LinkStatus status;
        status.session = static_cast<ESession>(session);
        const console::TStatusWords words = console::LinkWords(status);
        QCOMPARE(words.text, text);
        QCOMPARE(words.iconName, text == QLatin1String(connected) ? QStringLiteral("link-up")
                                                                  : QStringLiteral("link-down"));
    }

    void namesEachProblem_data()
    {
        QTest::addColumn<int>("problem");
        QTest::addColumn<QString>("text");
        const auto row = [](EProblem problem, const char* text) {
            QTest::addRow("%d", static_cast<int>(problem))
                << static_cast<int>(problem) << QString::fromLatin1(text);
        };
        row(EProblem::eNone, connected);
        row(EProblem::eNoNetwork, "No network\nsince 11:30");
        row(EProblem::eNoAnswer, "Service does not answer\nsince 11:30");
        row(EProblem::eNetworkWantsLogin, "Network wants a login\nsince 11:30");
        row(EProblem::eClockWrong, "Clock is wrong"); // so is the time
        row(EProblem::eNotTrusted, "Service not trusted\nsince 11:30");
    }

    void namesEachProblem()
    {
        QFETCH(int, problem);
        QFETCH(QString, text);
        const auto status = Offline(ESession::eLoggedIn, static_cast<EProblem>(problem));
        QCOMPARE(console::LinkWords(status).text, text);
    }

    void namesTheTimeOfAFailedLogin()
    {
        const auto status = Offline(ESession::eLoginFailed, EProblem::eNoNetwork);
        QCOMPARE(console::LinkWords(status).text, QStringLiteral("No network\nat 11:30"));
    }

    void namesNoProblemWhileTheLinkIsNotTried()
    {
        const auto text = [](ESession session) {
            return console::LinkWords(Offline(session, EProblem::eNoNetwork)).text;
        };
        QCOMPARE(text(ESession::eLoggedOut), QStringLiteral("Logged out"));
        QCOMPARE(text(ESession::eConnecting), QStringLiteral("Connecting..."));
    }

    void namesTheDayOfAnEarlierTime()
    {
        const auto status = Offline(ESession::eLoggedIn, EProblem::eNoNetwork, 21);
        QCOMPARE(console::LinkWords(status).text, QStringLiteral("No network\nsince Sat 11:30"));
    }
};

KELVO_TEST_MAIN(TLinkTextsTest)
#include "tst_LinkTexts.moc"
