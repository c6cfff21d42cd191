// The login panel: the look of each state, and the changes by the button and the hub.
#include "support/WidgetTestMain.h"
#include "tests/screens/Dialogs.h"
#include "tests/screens/TMiniViewFixture.h"

#include <QtTest/QtTest>
#include <QtWidgets/QLineEdit>

#include <functional>

using TReport = std::function<void(TKelvoInterface&)>;
Q_DECLARE_METATYPE(TReport)

class tst_MiniViewStates : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void alwaysStartsLoggedOut();
    void eachStateHasItsLook_data();
    void eachStateHasItsLook();
    void aValueOutsideTheStatesChangesNothing();
    void hubSignalsChangeTheState_data();
    void hubSignalsChangeTheState();
    void theButtonLogsIn();
    void theButtonLogsOutWithoutReadingTheCredentials();
    void acceptsAUserNameOfSpaces();
    void aRevealedPasswordIsHiddenAfterTheLogin_data();
    void aRevealedPasswordIsHiddenAfterTheLogin();
};

namespace {

QString Text(const char* text)
{
    return QString::fromLatin1(text);
}

// The visible parts of the panel.
struct TLook
{
    bool isUserNameEnabled;
    bool isPasswordShown;
    bool isStatusShown;
    QString status; // not used while hidden
    bool isButtonEnabled;
    QString caption;
    QString toolTip;

    QString ToString() const
    {
        return QStringLiteral("name %1, password %2, status %3 \"%4\", button %5 \"%6\" tip \"%7\"")
            .arg(isUserNameEnabled)
            .arg(isPasswordShown)
            .arg(isStatusShown)
            .arg(isStatusShown ? status : QString())
            .arg(isButtonEnabled)
            .arg(caption, toolTip);
    }
};

TLook LookOf(const TMiniViewFixture& f)
{
    return {f.UserName().isEnabled(), !f.Password().isHidden(), !f.Status().isHidden(),
            f.Status().GetValue(),    f.Button().isEnabled(),   f.Button().text(),
            f.Button().toolTip()};
}

TLook LookIn(int state)
{
    const TLook looks[] = {
        {true, true, false, QString(), true, Text("Login"), Text("Login to Kelvo")},
        {false, false, true, Text("Logging in...."), false, Text("Processing, please wait"),
         QString()},
        {false, false, true, Text("Logged in"), true, Text("Logout"), Text("Logout of Kelvo")},
        {false, false, true, Text("Logging out...."), false, Text("Processing, please wait"),
         QString()},
    };
    return looks[state];
}

// The state "file operation in progress" changes only the button.
TLook LookAfter(TLook before, int state)
{
    if (state != 4)
        return LookIn(state);
    before.isButtonEnabled = false;
    before.caption = Text("Processing, please wait");
    before.toolTip = QString();
    return before;
}

} // namespace

void tst_MiniViewStates::alwaysStartsLoggedOut()
{
    THubFixture around;
    around.Hub().OnLoggedIntoKelvo();
    around.Hub().OnPostLoginChecksInProgress();
    const TKelvoMiniView view(nullptr, around.levels);
    QCOMPARE(view.findChild<TPushButton*>(QString(), Qt::FindDirectChildrenOnly)->text(),
             Text("Login"));
}

void tst_MiniViewStates::eachStateHasItsLook_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    for (int from = 0; from < 5; ++from) {
        for (int to = 0; to < 5; ++to)
            QTest::addRow("%d to %d", from, to) << from << to;
    }
}

void tst_MiniViewStates::eachStateHasItsLook()
{
    QFETCH(int, from);
    QFETCH(int, to);
    TMiniViewFixture f;
    f.view.ChangeState(from);
    const TLook expected = LookAfter(LookOf(f), to);
    f.view.ChangeState(to);
    QCOMPARE(LookOf(f).ToString(), expected.ToString());
    QCOMPARE(f.Button().UntranslatedCaption(), expected.caption);
}

void tst_MiniViewStates::aValueOutsideTheStatesChangesNothing()
{
    TMiniViewFixture f;
    for (int state = 0; state < 5; ++state) {
        f.view.ChangeState(state);
        const QString before = LookOf(f).ToString();
        for (int none : {5, -1, 1000}) {
            f.view.ChangeState(none);
            QCOMPARE(LookOf(f).ToString(), before);
        }
    }
}

void tst_MiniViewStates::hubSignalsChangeTheState_data()
{
    QTest::addColumn<bool>("isLoggedIn");
    QTest::addColumn<TReport>("report");
    QTest::addColumn<int>("state");
    const TReport complete = [](TKelvoInterface& h) { h.OnPostLoginChecksComplete(); };
    const auto row = [](const char* name, bool isLoggedIn, const TReport& report, int state) {
        QTest::newRow(name) << isLoggedIn << report << state;
    };
    row(
        "logging in", false, [](TKelvoInterface& h) { h.OnLoggingIntoKelvo(); }, 1);
    row(
        "logged in", false, [](TKelvoInterface& h) { h.OnLoggedIntoKelvo(); }, 2);
    row(
        "logged out", true, [](TKelvoInterface& h) { h.OnLoggedOutOfKelvo(); }, 0);
    row(
        "operation", true, [](TKelvoInterface& h) { h.OnPostLoginChecksInProgress(); }, 4);
    row("operation ends, logged in", true, complete, 2);
    row("operation ends, logged out", false, complete, 0);
    row(
        "transfer ends, logged in", true,
        [](TKelvoInterface& h) { h.OnKelvoUploadComplete(3, {}); }, 2);
    row(
        "deletion ends, logged out", false,
        [](TKelvoInterface& h) { h.OnKelvoDeleteComplete(3, {}); }, 0);
}

void tst_MiniViewStates::hubSignalsChangeTheState()
{
    QFETCH(bool, isLoggedIn);
    QFETCH(TReport, report);
    QFETCH(int, state);
    for (int from = 0; from < 5; ++from) {
        TMiniViewFixture f;
        if (isLoggedIn)
            f.Hub().OnLoggedIntoKelvo();
        f.view.ChangeState(from);
        const TLook expected = LookAfter(LookOf(f), state);
        report(f.Hub());
        QCOMPARE(LookOf(f).ToString(), expected.ToString());
    }
}

void tst_MiniViewStates::theButtonLogsIn()
{
    TMiniViewFixture f;
    f.Configure(Text("olga"), Text("secret"));
    f.Button().click();
    QCOMPARE(LookOf(f).ToString(), LookIn(1).ToString());
    QCOMPARE(f.log.Names(), QStringList{Text("KelvoLoginRequested")});
    f.Button().click(); // the button is disabled
    QCOMPARE(f.log.Names().size(), 1);
}

void tst_MiniViewStates::theButtonLogsOutWithoutReadingTheCredentials()
{
    TMiniViewFixture f;
    f.Hub().OnLoggedIntoKelvo();
    f.log.Clear();
    f.Button().click();
    QCOMPARE(LookOf(f).ToString(), LookIn(3).ToString());
    QCOMPARE(f.log.Names(), QStringList{Text("KelvoLogoutRequested")});
    QVERIFY(!DialogTitled<TMessageDialog>(Text("KELVO Login Error"))->isVisible());
}

void tst_MiniViewStates::acceptsAUserNameOfSpaces()
{
    TMiniViewFixture f;
    f.Configure(Text("  "), Text(" "));
    f.Button().click();
    QCOMPARE(f.log.Names(), QStringList{Text("KelvoLoginRequested")});
}

void tst_MiniViewStates::aRevealedPasswordIsHiddenAfterTheLogin_data()
{
    QTest::addColumn<TReport>("end");
    QTest::newRow("logged out") << TReport([](TKelvoInterface& hub) {
        hub.OnLoggedIntoKelvo();
        hub.OnLoggedOutOfKelvo();
    });
    QTest::newRow("login failed") << TReport(
        [](TKelvoInterface& hub) { hub.OnLoginToKelvoFailed(Text("wrong")); });
}

void tst_MiniViewStates::aRevealedPasswordIsHiddenAfterTheLogin()
{
    QFETCH(TReport, end);
    TMiniViewFixture f;
    f.Configure(Text("olga"), Text("secret"));
    f.view.show();
    f.Password().findChild<TPushButton*>()->click();
    const QLineEdit& edit = *f.Password().findChild<QLineEdit*>();
    QCOMPARE(edit.echoMode(), QLineEdit::Normal);
    f.Button().click();
    end(f.Hub());
    QVERIFY(f.Password().isVisible());
    QCOMPARE(edit.echoMode(), QLineEdit::Password);
}

KELVO_WIDGET_TEST_MAIN(tst_MiniViewStates)
#include "tst_MiniViewStates.moc"
