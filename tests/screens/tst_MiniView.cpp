// The login panel: how it is built, how each state looks, what the button and the hub do to it.
#include "support/WidgetTestMain.h"
#include "tests/fakes/Declarations.h"
#include "tests/fakes/Receivers.h"
#include "tests/screens/Dialogs.h"
#include "tests/screens/TMiniViewFixture.h"
#include "tests/screens/TTaggingTranslator.h"

#include <QtTest/QtTest>
#include <QtWidgets/QLabel>
#include <QtWidgets/QVBoxLayout>

#include <functional>

using TReport = std::function<void(TKelvoInterface&)>;
Q_DECLARE_METATYPE(TReport)

class tst_MiniView : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void slotsAreDeclaredInTheirOrder();
    void isBuiltAsARowOfFour();
    void rowsTakeWhatIsConfigured();
    void clearsTheThirdItemAndKeepsIt();
    void whatIsTypedIsConfiguredAtOnce();
    void isAvailableToWhomTheControlIsGranted();
    void startsLoggedOutWhateverTheHubSays();
    void looksOfAState_data();
    void looksOfAState();
    void aNumberThatIsNoStateChangesNothing();
    void captionsAreTranslatedOnceAndToolTipsEachTime();
    void listensToTheHub();
    void livesWithoutAHub();
    void hubSignalsChangeTheState_data();
    void hubSignalsChangeTheState();
    void theButtonLogsIn();
    void theButtonLogsOutWithoutLookingAtTheCredentials();
    void aNameOfSpacesIsAName();
};

namespace {

QString Text(const char* text)
{
    return QString::fromLatin1(text);
}

// What can be seen of the panel.
struct TLook
{
    bool isUserNameEnabled;
    bool isPasswordShown;
    bool isStatusShown;
    QString status; // meaningless while hidden
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

// The busy state only changes the button.
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

void tst_MiniView::slotsAreDeclaredInTheirOrder()
{
    QCOMPARE(fakes::Declarations(TKelvoMiniView::staticMetaObject, QMetaMethod::Slot),
             fakes::Lines(R"(
ChangeState(int toState)
OnKelvoUserNameReceived()
OnKelvoAltnerateURL()
OnKelvoPasswordReceived()
OnKelvoLoggedIn()
OnKelvoLoginInProgress()
OnKelvoLoggedOut()
OnKelvoLoginFailed(QString errorMsg)
OnLoginButtonClicked()
OnKelvoFileOperationInProgress()
OnKelvoFileOperationComplete()
OnKelvoUserInboxSetupInProgress(int progress)
OnKelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList errorsList)
)"));
    QVERIFY(fakes::Declarations(TKelvoMiniView::staticMetaObject, QMetaMethod::Signal).isEmpty());
}

void tst_MiniView::isBuiltAsARowOfFour()
{
    const TMiniViewFixture f;
    QCOMPARE(f.view.SurfaceIcon(), Text("NavKelvo"));
    QCOMPARE(f.view.SurfaceTitle(), Text("KELVO"));
    QVERIFY(!f.view.IsStateShown() && !f.view.IsHelpShown());

    auto* const layout = qobject_cast<QVBoxLayout*>(f.view.layout());
    QVERIFY(layout);
    QCOMPARE(layout->contentsMargins(), QMargins(0, 0, 0, 0));
    QCOMPARE(layout->spacing(), 0);
    const QList<QWidget*> rows{&f.UserName(), &f.Password(), &f.Status(), &f.Button()};
    QCOMPARE(layout->count(), rows.size());
    for (int i = 0; i < rows.size(); ++i)
        QCOMPARE(layout->itemAt(i)->widget(), rows[i]);

    QCOMPARE(f.UserName().minimumHeight(), 73);
    QCOMPARE(f.UserName().maximumHeight(), 73);
    QCOMPARE(f.Password().minimumHeight(), 73);
    QCOMPARE(f.Password().maximumHeight(), 73);
    QCOMPARE(f.Button().minimumWidth(), 100);
    QCOMPARE(f.Button().maximumWidth(), 500);
    QCOMPARE(f.Button().DisabledBackground(), Text("NewDisabledButton"));
}

void tst_MiniView::rowsTakeWhatIsConfigured()
{
    THubFixture around;
    around.Configure(Text("olga"), Text("secret"));
    const TKelvoMiniView view(nullptr, around.levels);
    const auto rows = view.findChildren<TPropertyWidget*>(QString(), Qt::FindDirectChildrenOnly);
    QCOMPARE(rows.size(), 2);
    QCOMPARE(rows[0]->GetTextValue(), Text("olga"));
    QCOMPARE(rows[1]->GetTextValue(), Text("secret"));
}

void tst_MiniView::clearsTheThirdItemAndKeepsIt()
{
    THubFixture around;
    ConfigManager::Instance().SetItem(24291, Text("https://elsewhere"), true);
    const TKelvoMiniView view(nullptr, around.levels);
    hostimpl::TConfigStore kept;
    QCOMPARE(kept.Open(around.ConfigurationPath()), QString());
    QVERIFY(kept.GetItem(24291).isValid());
    QCOMPARE(kept.GetItem(24291).toString(), QString());
}

void tst_MiniView::whatIsTypedIsConfiguredAtOnce()
{
    const TMiniViewFixture f;
    f.UserName().SetTextValue(Text("pavel"));
    QCOMPARE(f.Configured(24289), Text("pavel"));
    QCOMPARE(f.Configured(24290), QString());
    f.Password().SetTextValue(Text("hidden"));
    QCOMPARE(f.Configured(24290), Text("hidden"));
    f.Password().SetTextValue(QString());
    QCOMPARE(f.Configured(24290), QString());
    hostimpl::TConfigStore kept;
    QCOMPARE(kept.Open(f.ConfigurationPath()), QString());
    QCOMPARE(kept.GetItem(24289).toString(), Text("pavel"));
}

void tst_MiniView::isAvailableToWhomTheControlIsGranted()
{
    TMiniViewFixture f;
    QVERIFY(f.view.IsAvailable());
    f.levels.SetControlAccessible(TAppUserLevels::EControl(168), false);
    QVERIFY(!f.view.IsAvailable());
    f.levels.SetControlAccessible(TAppUserLevels::EControl(168), true);
    f.levels.SetControlAccessible(TAppUserLevels::EControl(167), false);
    QVERIFY(f.view.IsAvailable());
    f.levels.SetControlAccessible(TAppUserLevels::EControl(167), true);
}

void tst_MiniView::startsLoggedOutWhateverTheHubSays()
{
    THubFixture around;
    around.Hub().OnLoggedIntoKelvo();
    around.Hub().OnPostLoginChecksInProgress();
    const TKelvoMiniView view(nullptr, around.levels);
    QCOMPARE(view.findChild<TPushButton*>(QString(), Qt::FindDirectChildrenOnly)->text(),
             Text("Login"));
}

void tst_MiniView::looksOfAState_data()
{
    QTest::addColumn<int>("from");
    QTest::addColumn<int>("to");
    for (int from = 0; from < 5; ++from) {
        for (int to = 0; to < 5; ++to)
            QTest::addRow("%d to %d", from, to) << from << to;
    }
}

void tst_MiniView::looksOfAState()
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

void tst_MiniView::aNumberThatIsNoStateChangesNothing()
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

void tst_MiniView::captionsAreTranslatedOnceAndToolTipsEachTime()
{
    TMiniViewFixture before;
    {
        const TTaggingTranslator translator;
        before.view.ChangeState(2);
        QCOMPARE(before.Button().text(), Text("Logout"));
        QCOMPARE(before.Status().GetValue(), Text("Logged in"));
        QCOMPARE(before.Button().toolTip(), Text("{TKelvoMiniView|ToolTip}Logout of Kelvo"));

        TKelvoMiniView view(nullptr, before.levels);
        const QString tag = Text("{TKelvoMiniView|}");
        QStringList names;
        for (const auto* row :
             view.findChildren<TPropertyWidget*>(QString(), Qt::FindDirectChildrenOnly))
            names << row->accessibleName();
        QCOMPARE(names, (QStringList{tag + Text("USERNAME"), tag + Text("PASSWORD")}));
        const auto* const button =
            view.findChild<TPushButton*>(QString(), Qt::FindDirectChildrenOnly);
        const auto* const status =
            view.findChild<TProperty*>(QString(), Qt::FindDirectChildrenOnly);
        QCOMPARE(status->findChild<QLabel*>()->text(), tag + Text("STATUS"));
        const char* const captions[] = {"Login", "Processing, please wait", "Logout",
                                        "Processing, please wait", "Processing, please wait"};
        const char* const statuses[] = {"", "Logging in....", "Logged in", "Logging out....",
                                        "Logging out...."};
        for (int state = 0; state < 5; ++state) {
            view.ChangeState(state);
            QCOMPARE(button->text(), tag + Text(captions[state]));
            QCOMPARE(button->UntranslatedCaption(), Text(captions[state]));
            if (state > 0)
                QCOMPARE(status->GetValue(), tag + Text(statuses[state]));
        }
        view.ChangeState(0);
        QCOMPARE(button->toolTip(), Text("{TKelvoMiniView|ToolTip}Login to Kelvo"));
        QCOMPARE(view.SurfaceTitle(), Text("KELVO"));
    }
}

void tst_MiniView::listensToTheHub()
{
    THubFixture around;
    {
        const TKelvoMiniView view(nullptr, around.levels);
        for (const char* signature :
             {"KelvoLoggedIn()", "KelvoLoginInProgress()", "KelvoLoggedOut()",
              "KelvoLoginFailed(QString)", "KelvoFileOperationInProgress()",
              "KelvoFileOperationComplete()", "KelvoUserInboxSetupInProgress(int)",
              "KelvoUserInboxSetupComplete(KelvoFileTransferErrorDetailsList)"})
            QCOMPARE(fakes::Receivers::Of(KelvoInterface, signature), 1 + 1); // and the log
        QCOMPARE(fakes::Receivers::Of(KelvoInterface, "KelvoLoginRequested()"), 1);
        QCOMPARE(fakes::Receivers::Of(KelvoInterface, "KelvoUploadingFile(int,QString)"), 1);
    }
    QCOMPARE(fakes::Receivers::Of(KelvoInterface, "KelvoLoggedIn()"), 1);
}

void tst_MiniView::livesWithoutAHub()
{
    THubFixture around;
    around.EndHub();
    TKelvoMiniView view(nullptr, around.levels);
    view.OnLoginButtonClicked();
    QCOMPARE(view.findChild<TPushButton*>(QString(), Qt::FindDirectChildrenOnly)->text(),
             Text("Login"));
}

void tst_MiniView::hubSignalsChangeTheState_data()
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

void tst_MiniView::hubSignalsChangeTheState()
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

void tst_MiniView::theButtonLogsIn()
{
    TMiniViewFixture f;
    f.Configure(Text("olga"), Text("secret"));
    f.Button().click();
    QCOMPARE(LookOf(f).ToString(), LookIn(1).ToString());
    QCOMPARE(f.log.Names(), QStringList{Text("KelvoLoginRequested")});
    f.Button().click(); // disabled: nothing
    QCOMPARE(f.log.Names().size(), 1);
}

void tst_MiniView::theButtonLogsOutWithoutLookingAtTheCredentials()
{
    TMiniViewFixture f;
    f.Hub().OnLoggedIntoKelvo();
    f.log.Clear();
    f.Button().click();
    QCOMPARE(LookOf(f).ToString(), LookIn(3).ToString());
    QCOMPARE(f.log.Names(), QStringList{Text("KelvoLogoutRequested")});
    QVERIFY(!DialogTitled<TMessageDialog>(Text("KELVO Login Error"))->isVisible());
}

void tst_MiniView::aNameOfSpacesIsAName()
{
    TMiniViewFixture f;
    f.Configure(Text("  "), Text(" "));
    f.Button().click();
    QCOMPARE(f.log.Names(), QStringList{Text("KelvoLoginRequested")});
}

KELVO_WIDGET_TEST_MAIN(tst_MiniView)
#include "tst_MiniView.moc"
