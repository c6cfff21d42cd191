// The main window: its layout at each size, and its controls.
#include "console/window/Geometry.h"
#include "console/window/StatusTexts.h"
#include "console/window/THomePage.h"
#include "console/window/TIconButton.h"
#include "console/window/TLauncherBar.h"
#include "console/window/TLinkBanner.h"
#include "console/window/TMainWindow.h"
#include "console/window/TMiniViewDock.h"
#include "console/window/TSampleSurface.h"
#include "console/window/TStatusBar.h"
#include "hostimpl/Clock.h"
#include "hostimpl/TWheelInput.h"
#include "hostimpl/Theme.h"
#include "support/TTestCase.h"
#include "support/WidgetTestMain.h"

#include <QtGui/QCloseEvent>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QScrollArea>
#include <QtWidgets/QScrollBar>

using console::TMainWindow;
using kesdkimpl::ESession;

class TMainWindowTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    // The sizes of the plug-in's screens.
    static constexpr QSize miniSize{300, 330};
    static constexpr QSize fullSize{560, 420};

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }

    void startsInTheUsualSizeAndHasASmallestSize()
    {
        TMainWindow window;
        QCOMPARE(window.size(), QSize(1280, 800));
        window.resize(100, 100);
        QCOMPARE(window.size(), QSize(800, 480));
    }

    void hasATitleBarOnlyWhereOneFits_data()
    {
        QTest::addColumn<QRect>("available");
        QTest::addColumn<QRect>("place"); // null where the window manager places the window
        QTest::newRow("large display") << QRect(0, 0, 1920, 1080) << QRect();
        QTest::newRow("its own size") << QRect(0, 0, 1280, 800) << QRect(0, 0, 1280, 800);
        QTest::newRow("a panel above") << QRect(0, 30, 1280, 770) << QRect(0, 30, 1280, 770);
        QTest::newRow("a little higher") << QRect(0, 0, 1280, 820) << QRect(0, 0, 1280, 800);
        QTest::newRow("smallest") << QRect(0, 0, 800, 480) << QRect(0, 0, 800, 480);
    }

    void hasATitleBarOnlyWhereOneFits()
    {
        QFETCH(QRect, available);
        QFETCH(QRect, place);
        TMainWindow window;
        window.move(7, 9);
        window.FitInto(available);
        QCOMPARE(window.windowFlags().testFlag(Qt::FramelessWindowHint), !place.isNull());
        QCOMPARE(window.geometry(), place.isNull() ? QRect(QPoint(7, 9), QSize(1280, 800)) : place);
    }

    void cutsNothingOff_data()
    {
        QTest::addColumn<QSize>("size");
        QTest::addColumn<bool>("isPageOpen");
        QTest::newRow("home, 1280x800") << QSize(1280, 800) << false;
        QTest::newRow("page, 1280x800") << QSize(1280, 800) << true;
        QTest::newRow("home, 800x480") << QSize(800, 480) << false;
        QTest::newRow("page, 800x480") << QSize(800, 480) << true;
    }

    void cutsNothingOff()
    {
        QFETCH(QSize, size);
        QFETCH(bool, isPageOpen);
        TSampleSurface mini(QStringLiteral("Mini"), miniSize);
        TSampleSurface full(QStringLiteral("A title that is rather longer than a title should be"),
                            fullSize);
        TMainWindow window;
        window.Dock().Add(&mini);
        window.Launcher().AddPage(&full, full.SurfaceIcon(), full.SurfaceTitle(), QString());
        window.AddPage(&full, full.SurfaceTitle());
        window.ShowPage(isPageOpen ? &full : nullptr);
        window.Banner().Show(ESession::eLoginFailed,
                             QStringLiteral("There is no way to the service. Check the network, "
                                            "then log in again."));
        window.Home().SetNotice(
            QStringLiteral("The plug-in /usr/lib/kelvo/libkelvo.so lacks an entry point."));
        window.resize(size);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QCOMPARE(window.size(), size);
        const QStringList cutOff = CutOffWidgets(window);
        QVERIFY2(cutOff.isEmpty(), qUtf8Printable(cutOff.join(QLatin1Char('\n'))));
        QCOMPARE(full.isVisible(), isPageOpen);
        QCOMPARE(mini.isVisible(), !isPageOpen || size.width() > 800);
        window.Dock().Remove(&mini);
        window.RemovePage(&full);
    }

    void doesNotDestroyContentsItDoesNotOwn()
    {
        TSampleSurface mini;
        TSampleSurface full;
        {
            TMainWindow window;
            window.Dock().Add(&mini);
            window.AddPage(&full, QString());
            window.ShowPage(&full);
            window.show();
        }
        QVERIFY(mini.parent() == nullptr && full.parent() == nullptr);
        QVERIFY(!mini.isVisible() && !full.isVisible());
    }

    void hidesTheDockWithoutMiniViews()
    {
        TMainWindow window;
        window.show();
        QVERIFY(!window.Dock().isVisible());
        TSampleSurface mini;
        window.Dock().Add(&mini);
        QVERIFY(window.Dock().isVisible() && mini.isVisible());
        window.Dock().Remove(&mini);
        QVERIFY(!window.Dock().isVisible());
    }

    void givesEachMiniViewItsOwnPlace()
    {
        TMainWindow window;
        TSampleSurface upper(QStringLiteral("Upper"), miniSize);
        TSampleSurface lower(QStringLiteral("Lower"), miniSize);
        window.Dock().Add(&upper);
        window.Dock().Add(&lower);
        window.show();
        QCOMPARE(upper.pos(), QPoint(0, 0));
        QCOMPARE(lower.pos(), QPoint(0, 0));
        QVERIFY(upper.mapTo(&window, QPoint()).y() + upper.height() <=
                lower.mapTo(&window, QPoint()).y());
    }

    void detectsACutOffWidget()
    {
        QWidget window;
        window.resize(100, 100);
        QWidget child(&window);
        child.setGeometry(50, 50, 60, 20);
        window.show();
        QCOMPARE(CutOffWidgets(window).size(), 1);
    }

    void hasButtonsLargeEnoughForGloves()
    {
        TMainWindow window;
        window.show();
        const auto buttons = window.findChildren<console::TIconButton*>();
        QVERIFY(buttons.size() >= 3);
        for (const console::TIconButton* const button : buttons) {
            QVERIFY(button->width() >= hostimpl::TOUCH_SIZE);
            QVERIFY(button->height() >= hostimpl::TOUCH_SIZE);
        }
    }

    void showsAFailedLinkInTheBanner()
    {
        TMainWindow window;
        window.show();
        for (const ESession quiet : {ESession::eNoConnection, ESession::eLoggedOut,
                                     ESession::eConnecting, ESession::eLoggedIn}) {
            window.Banner().Show(quiet, QString());
            QVERIFY(!window.Banner().isVisible());
        }
        window.Banner().Show(ESession::eLoginFailed, QStringLiteral("There is no way."));
        QVERIFY(window.Banner().isVisible());
        QVERIFY(window.Banner().Text().contains(QStringLiteral("There is no way.")));
        window.Banner().Show(ESession::eSessionEnded, QString());
        QVERIFY(window.Banner().isVisible());
    }

    void showsThePosition()
    {
        console::TPositionState state;
        QCOMPARE(console::PositionWords(state).text, QStringLiteral("No position source"));
        state.source = console::ESourceState::eConnecting;
        QCOMPARE(console::PositionWords(state).text, QStringLiteral("Waiting for a receiver"));
        state.source = console::ESourceState::eRunning;
        state.state = console::EPositionState::eFix;
        state.fix.latitudeDegrees = -12.5;
        state.fix.longitudeDegrees = 7.123456;
        state.fix.quality = console::EFixQuality::eRtkFixed;
        state.ageMs = 900;
        QCOMPARE(console::PositionWords(state).text,
                 QStringLiteral("RTK  12.50000\u00b0 S  7.12346\u00b0 E  0 s"));
        QCOMPARE(console::PositionWords(state).iconName, QStringLiteral("gps-fix"));
        state.state = console::EPositionState::eLost;
        state.ageMs = 119'999;
        QCOMPARE(console::PositionWords(state).text, QStringLiteral("Position lost 119 s ago"));
        state.ageMs = 121'000;
        QCOMPARE(console::PositionWords(state).text, QStringLiteral("Position lost 2 min ago"));
        QCOMPARE(console::PositionWords(state).iconName, QStringLiteral("gps-lost"));
    }

    void hasAnIconForEachState()
    {
        const QStringList names = hostimpl::ThemeIconNames();
        for (const char* const name :
             {"home", "settings", "sun", "moon", "gps-fix", "gps-lost", "link-up", "link-down"}) {
            QVERIFY2(names.contains(QLatin1String(name)), name);
        }
    }

    void showsTheLocalTime()
    {
        hostimpl::SetClock([] { return QDateTime({2026, 5, 4}, {13, 37}); });
        TMainWindow window;
        hostimpl::SetClock({});
        QCOMPARE(window.Status().ClockText(), QStringLiteral("13:37"));
    }

    void requestsTheEndBeforeItCloses()
    {
        TMainWindow window;
        window.show();
        QSignalSpy requested(&window, &TMainWindow::CloseRequested);
        QVERIFY(!window.close());
        QCOMPARE(requested.count(), 1);
        QVERIFY(window.isVisible());
    }

    void movesTheFocusWithTheWheel()
    {
        TMainWindow window;
        hostimpl::TWheelInput wheel;
        window.show();
        QApplication::setActiveWindow(&window);
        console::TLauncherBar& launcher = window.Launcher();
        launcher.HomeButton()->setFocus();
        QSignalSpy opened(&launcher, &console::TLauncherBar::OpenSettings);
        for (int step = 0; step < 10 && !launcher.SettingsButton()->hasFocus(); ++step) {
            QVERIFY(wheel.Turn(1));
        }
        QVERIFY(launcher.SettingsButton()->hasFocus());
        QVERIFY(wheel.Press());
        QCOMPARE(opened.count(), 1);
    }

    void scrollsTheHomePageWithTheWheelIfItIsHigherThanTheWindow()
    {
        TMainWindow window;
        hostimpl::TWheelInput wheel;
        window.resize(800, 480);
        window.show();
        QApplication::setActiveWindow(&window);
        QVERIFY(QTest::qWaitFor([&] { return window.Home().focusPolicy() != Qt::NoFocus; }, 60000));
        window.Home().setFocus();
        const auto* const bar =
            window.Home().findChild<QScrollArea*>(QString())->verticalScrollBar();
        while (bar->value() < bar->maximum()) {
            const int before = bar->value();
            QVERIFY(wheel.Turn(1));
            QVERIFY(bar->value() > before);
        }
        QVERIFY(wheel.Turn(1)); // the focus leaves the page
        QVERIFY(!window.Home().hasFocus());
    }

    void goesHomeWithTheBackButton()
    {
        TMainWindow window;
        TSampleSurface full;
        window.AddPage(&full, QString());
        window.ShowPage(&full);
        QVERIFY(window.OnBackPressed());
        QVERIFY(window.CurrentPage() == nullptr);
        QVERIFY(!window.OnBackPressed());
        window.RemovePage(&full);
    }
};

KELVO_WIDGET_TEST_MAIN(TMainWindowTest)
#include "tst_MainWindow.moc"
