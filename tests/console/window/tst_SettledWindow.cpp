// Once the window is drawn, and while it shows the same state again, it asks for no layout and
// draws nothing.
#include "console/window/THomePage.h"
#include "console/window/TLinkBanner.h"
#include "console/window/TMainWindow.h"
#include "console/window/TMiniViewDock.h"
#include "console/window/TStatusBar.h"
#include "console/window/TransferTexts.h"
#include "host/TMessageDialog.h"
#include "hostimpl/Display.h"
#include "hostimpl/PopupHost.h"
#include "hostimpl/Theme.h"
#include "screens/TKelvoFullView.h"
#include "screens/TKelvoMiniView.h"
#include "support/WidgetTestMain.h"
#include "tests/screens/TControllerFixture.h"

#include <QtTest/QtTest>

namespace {

// Counts the layouts and drawings of a window's widgets. Ends them when they have no end.
class TWork : public QObject
{
public:
    explicit TWork(QWidget& window) : m_window(window) { qApp->installEventFilter(this); }

    // The layouts and drawings that wait. Timers do not run.
    int Count()
    {
        m_count = 0;
        QCoreApplication::sendPostedEvents();
        QEvent update(QEvent::UpdateRequest); // otherwise the display's timer sends it
        QCoreApplication::sendEvent(&m_window, &update);
        return m_count;
    }

    // Whether the work ends. A change of one layout may change another layout.
    bool Ends()
    {
        constexpr int passes = 10;
        for (int pass = 0; pass < passes; ++pass) {
            if (Count() == 0) {
                return true;
            }
        }
        return false;
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        constexpr int most = 10'000;
        const QEvent::Type type = event->type();
        const bool isWork =
            type == QEvent::LayoutRequest || type == QEvent::Resize || type == QEvent::Paint;
        return (isWork && ++m_count > most) || QObject::eventFilter(watched, event);
    }

private:
    QWidget& m_window;
    int m_count = 0;
};

} // namespace

class tst_SettledWindow : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { hostimpl::SetTheme(hostimpl::ETheme::eDay); }
    void drawsNothingMoreAfterEachStateOfTheLogin_data();
    void drawsNothingMoreAfterEachStateOfTheLogin();
    void drawsNothingWhileItShowsTheSameState();
};

void tst_SettledWindow::drawsNothingMoreAfterEachStateOfTheLogin_data()
{
    QTest::addColumn<QSize>("size");
    for (const hostimpl::TDisplay& display : hostimpl::DISPLAYS) {
        const QSize size = display.LayoutPixels();
        QTest::addRow("%dx%d", size.width(), size.height()) << size;
    }
}

void tst_SettledWindow::drawsNothingMoreAfterEachStateOfTheLogin()
{
    QFETCH(QSize, size);
    THubFixture around;
    console::TMainWindow window;
    TKelvoMiniView mini(nullptr, around.levels);
    TKelvoFullView full(nullptr);
    mini.Setup();
    full.Setup();
    window.Dock().Add(&mini);
    window.AddPage(&full, full.SurfaceTitle());
    window.resize(size);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    TWork work(window);
    int worked = 0;
    void (TKelvoInterface::*const states[])() = {
        &TKelvoInterface::OnLoggedOutOfKelvo,
        &TKelvoInterface::OnLoggingIntoKelvo,
        &TKelvoInterface::OnLoggedIntoKelvo,
    };
    for (QWidget* const page : {static_cast<QWidget*>(nullptr), static_cast<QWidget*>(&full)}) {
        window.ShowPage(page);
        for (const auto state : states) {
            (around.Hub().*state)();
            worked += work.Count();
            QVERIFY(work.Ends());
        }
    }
    QVERIFY(worked > 0);
    window.Dock().Remove(&mini);
    window.RemovePage(&full);
}

// The console looks at the state four times a second.
void tst_SettledWindow::drawsNothingWhileItShowsTheSameState()
{
    kesdkimpl::LinkStatus status;
    status.session = kesdkimpl::ESession::eLoggedIn;
    status.lastContact = kesdkimpl::Moment{1800000000, {}};
    status.transfer = kesdkimpl::TransferStatus();
    status.transfer->doneBytes = 1'200'000;
    status.transfer->totalBytes = 2'800'000;
    status.transfer->bytesPerSecond = 10'000;
    console::THomeState home;
    home.link = status;
    home.isLoggedIn = true;
    home.folders = console::TFolderFigures();
    console::TMainWindow window;
    hostimpl::SetPopupHost(&window);
    TMessageDialog dialog(nullptr, QString(), QStringLiteral("Downloading a.zip"),
                          TMessageDialog::eOperation, false, QPixmap());
    window.show();
    dialog.ShowWindow(false);
    dialog.EnableButton(TMessageDialog::eButton0, false);
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    TWork work(window);
    const auto show = [&] {
        window.Status().ShowLink(console::TransferWords(status, {}));
        window.Status().ShowPosition({});
        window.Banner().Show(status.session, QString());
        window.Home().Show(home);
        hostimpl::SetTransferProgress(console::TransferProgress(status, {}));
    };
    show();
    QVERIFY(work.Count() > 0);
    QVERIFY(work.Ends());
    show();
    QCOMPARE(work.Count(), 0);
    status.transfer->doneBytes = 1'300'000;
    show();
    QVERIFY2(work.Count() > 0, "another state");
    hostimpl::SetTransferProgress({});
    hostimpl::SetPopupHost(nullptr);
}

KELVO_WIDGET_TEST_MAIN(tst_SettledWindow)
#include "tst_SettledWindow.moc"
