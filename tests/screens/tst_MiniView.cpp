// The login panel: its construction and its use of the configuration.
#include "support/WidgetTestMain.h"
#include "tests/fakes/Declarations.h"
#include "tests/fakes/Receivers.h"
#include "tests/screens/TMiniViewFixture.h"
#include "tests/screens/TTaggingTranslator.h"

#include <QtTest/QtTest>
#include <QtWidgets/QLabel>
#include <QtWidgets/QVBoxLayout>

class tst_MiniView : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void slotsAreDeclaredInTheirOrder();
    void theConstructorPlacesFourWidgets();
    void rowsShowTheConfiguredCredentials();
    void clearsTheThirdItemAndKeepsIt();
    void configuresEnteredCredentialsAtOnce();
    void theViewIsAvailableIfTheUserLevelGrantsTheControl();
    void captionsAreTranslatedOnceAndToolTipsEachTime();
    void listensToTheHub();
    void worksWithoutAHub();
};

namespace {

QString Text(const char* text)
{
    return QString::fromLatin1(text);
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

void tst_MiniView::theConstructorPlacesFourWidgets()
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

void tst_MiniView::rowsShowTheConfiguredCredentials()
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

void tst_MiniView::configuresEnteredCredentialsAtOnce()
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

void tst_MiniView::theViewIsAvailableIfTheUserLevelGrantsTheControl()
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
            QCOMPARE(fakes::Receivers::Of(KelvoInterface, signature),
                     1 + 1); // the panel and the log
        QCOMPARE(fakes::Receivers::Of(KelvoInterface, "KelvoLoginRequested()"), 1);
        QCOMPARE(fakes::Receivers::Of(KelvoInterface, "KelvoUploadingFile(int,QString)"), 1);
    }
    QCOMPARE(fakes::Receivers::Of(KelvoInterface, "KelvoLoggedIn()"), 1);
}

void tst_MiniView::worksWithoutAHub()
{
    THubFixture around;
    around.EndHub();
    TKelvoMiniView view(nullptr, around.levels);
    view.OnLoginButtonClicked();
    QCOMPARE(view.findChild<TPushButton*>(QString(), Qt::FindDirectChildrenOnly)->text(),
             Text("Login"));
}

KELVO_WIDGET_TEST_MAIN(tst_MiniView)
#include "tst_MiniView.moc"
