// The focus in the console's window: with pages, with widgets that are disabled, and after a login
// that failed.
#include "console/window/TIconButton.h"
#include "console/window/TLauncherBar.h"
#include "console/window/TMainWindow.h"
#include "console/window/TMiniViewDock.h"
#include "host/TMessageDialog.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "hostimpl/FocusOrder.h"
#include "hostimpl/PopupHost.h"
#include "hostimpl/TWheelInput.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"

#include <QtWidgets/QLineEdit>
#include <QtWidgets/QVBoxLayout>

namespace {

TPushButton* NewButton(QWidget* parent)
{
    return new TPushButton(parent, QStringLiteral("b"), QStringLiteral("NewStandardButton"),
                           QStringLiteral("NewStandardButtonSelected"), 0, QString());
}

// A login panel as the plug-in's: two rows and a button.
struct TPanel : QWidget
{
    TPanel()
        : name(new TPropertyWidget(this)),
          password(new TPropertyWidget(this)),
          login(NewButton(this))
    {
        password->setAllowHideText(true);
        auto* const column = new QVBoxLayout(this);
        column->addWidget(name);
        column->addWidget(password);
        column->addWidget(login);
    }

    void SetBusy(bool isBusy)
    {
        name->setEnabled(!isBusy);
        password->setVisible(!isBusy);
        login->setEnabled(!isBusy);
    }

    TPropertyWidget* name;
    TPropertyWidget* password;
    TPushButton* login;
};

struct TPageContent : QWidget
{
    TPageContent() : upper(NewButton(this)), lower(NewButton(this))
    {
        auto* const column = new QVBoxLayout(this);
        column->addWidget(upper);
        column->addWidget(lower);
    }

    TPushButton* upper;
    TPushButton* lower;
};

struct TConsole
{
    TConsole()
        : error(nullptr, QString(), QString(), TMessageDialog::eAcknowledge, false, QPixmap())
    {
        hostimpl::SetPopupHost(&window);
        window.AddPage(&page, QStringLiteral("Page"));
        window.show();
        QVERIFY(QTest::qWaitForWindowActive(&window));
        window.Dock().Add(&panel);
        QCoreApplication::processEvents(); // the layout
    }
    ~TConsole()
    {
        hostimpl::SetPopupHost(nullptr);
        window.RemovePage(&page);
        window.Dock().Remove(&panel);
    }

    static QWidget* Focus() { return QApplication::focusWidget(); }
    static void Key(Qt::Key key) { QTest::keyClick(Focus(), key); }
    static QLineEdit* EditOf(const TPropertyWidget& row) { return row.findChild<QLineEdit*>(); }

    TPanel panel;
    TPageContent page;
    console::TMainWindow window;
    TMessageDialog error;
    hostimpl::TWheelInput wheel;
};

} // namespace

class TWindowFocusTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }

    void startsOnTheLoginPanel()
    {
        TConsole it;
        QCOMPARE(it.Focus(), it.panel.name);
    }

    void anOpenedPageHasTheFocus()
    {
        TConsole it;
        it.window.ShowPage(&it.page);
        QCOMPARE(it.Focus(), it.page.upper);
        it.window.ShowPage(nullptr);
        QCOMPARE(it.Focus(), it.panel.name);
    }

    void theWheelGoesFromTheLauncherOverThePageToTheMiniViews()
    {
        TConsole it;
        it.window.ShowPage(&it.page);
        auto* const eye = it.panel.password->findChild<TPushButton*>();
        const console::TLauncherBar& launcher = it.window.Launcher();
        QCOMPARE(hostimpl::FocusOrder(it.window),
                 QVector<QWidget*>({launcher.HomeButton(), launcher.LightButton(),
                                    launcher.SettingsButton(), it.page.upper, it.page.lower,
                                    it.panel.name, it.panel.password, eye, it.panel.login}));
        for (QWidget* const next :
             {static_cast<QWidget*>(it.page.lower), static_cast<QWidget*>(it.panel.name)}) {
            it.Key(Qt::Key_Tab);
            QCOMPARE(it.Focus(), next);
        }
    }

    void returnGoesFromTheNameToThePasswordAndThenLogsIn()
    {
        TConsole it;
        int logins = 0;
        connect(it.panel.login, &TPushButton::Clicked, this, [&logins] { ++logins; });
        it.Key(Qt::Key_Return);
        QCOMPARE(it.Focus(), it.EditOf(*it.panel.name));
        QTest::keyClicks(it.Focus(), QStringLiteral("olga"));
        it.Key(Qt::Key_Return);
        QCOMPARE(it.Focus(), it.EditOf(*it.panel.password));
        QCOMPARE(logins, 0);
        QTest::keyClicks(it.Focus(), QStringLiteral("secret"));
        it.Key(Qt::Key_Return);
        QCOMPARE(logins, 1);
        QCOMPARE(it.Focus(), it.panel.login);
        QCOMPARE(it.panel.password->GetTextValue(), QStringLiteral("secret"));
    }

    void aFailedLoginEndsOnTheLoginPanel()
    {
        TConsole it;
        it.panel.login->setFocus();
        it.panel.SetBusy(true);
        QVERIFY(it.Focus() != nullptr);
        QVERIFY(it.window.Dock().isAncestorOf(it.Focus()) || it.Focus() == &it.window.Dock());
        it.panel.SetBusy(false);
        it.error.ShowWindow(true);
        QVERIFY(it.error.isAncestorOf(it.Focus()));
        it.Key(Qt::Key_Return);
        QVERIFY(!it.error.isVisible());
        QCOMPARE(it.Focus(), it.panel.login);
    }

    void aDisabledWidgetGetsTheFocusBack()
    {
        TConsole it;
        it.panel.login->setFocus();
        it.panel.SetBusy(true);
        it.panel.SetBusy(false);
        QCOMPARE(it.Focus(), it.panel.login);
        it.panel.login->setEnabled(false);
        QCOMPARE(it.Focus(), it.panel.name);
        it.panel.login->setEnabled(true);
        QCOMPARE(it.Focus(), it.panel.login);
    }

    void aDisabledWidgetDoesNotTakeTheFocusFromTheOperator()
    {
        TConsole it;
        it.panel.login->setFocus();
        it.panel.SetBusy(true);
        it.window.ShowPage(&it.page);
        it.panel.SetBusy(false);
        QCOMPARE(it.Focus(), it.page.upper);
    }

    // The keys go to a panel in which nothing can take the focus.
    void theWheelGoesOnFromAPanelWithoutAFocus()
    {
        TConsole it;
        it.panel.login->setFocus();
        it.panel.SetBusy(true);
        it.Key(Qt::Key_Down);
        QVERIFY(hostimpl::CanTakeFocus(*it.Focus()));
    }
};

KELVO_WIDGET_TEST_MAIN(TWindowFocusTest)
#include "tst_WindowFocus.moc"
