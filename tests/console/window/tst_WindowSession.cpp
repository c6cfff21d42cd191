// The console with its window, from start to end, with plug-ins of several kinds.
#include "console/settings/TSettingsPage.h"
#include "console/window/THomePage.h"
#include "console/window/TIconButton.h"
#include "console/window/TLauncherBar.h"
#include "console/window/TLinkBanner.h"
#include "console/window/TSessionFixture.h"
#include "console/window/TStatusBar.h"
#include "core/TKelvoInterface.h"
#include "host/TMessageDialog.h"
#include "host/TPushButton.h"
#include "support/WidgetTestMain.h"

#include <QtGui/QScreen>
#include <QtTest/QSignalSpy>

using console::TWindowSession;

class TWindowSessionTest : public TSessionFixture
{
    Q_OBJECT

private:
    console::TIconButton* FullViewButton()
    {
        const auto buttons = m_session->Window()->Launcher().findChildren<console::TIconButton*>();
        for (console::TIconButton* const button : buttons) {
            if (button->text() == QLatin1String("Full")) {
                return button;
            }
        }
        return nullptr;
    }

private Q_SLOTS:
    void showsWhyAPluginCannotRun_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("part");
        QTest::newRow("missing") << QStringLiteral("/nowhere/libkelvo.so")
                                 << QStringLiteral("There is no plug-in");
        QTest::newRow("incomplete") << QStringLiteral(IncompletePlugin_PATH)
                                    << QStringLiteral("lacks the entry point Finalise");
        QTest::newRow("throws") << QStringLiteral(ThrowingPlugin_PATH)
                                << QStringLiteral("no memory for the worker");
        QTest::newRow("no hub") << QStringLiteral(HublessPlugin_PATH)
                                << QStringLiteral("offers no hub");
    }

    void showsWhyAPluginCannotRun()
    {
        QFETCH(QString, path);
        QFETCH(QString, part);
        Begin(path, Stored());
        QVERIFY(m_session->Dialog() != nullptr);
        QVERIFY(m_session->Dialog()->isVisible());
        QVERIFY2(m_session->Dialog()->Message().contains(part),
                 qUtf8Printable(m_session->Dialog()->Message()));
        m_session->Dialog()->GetMessageDialogButton(TMessageDialog::eButton0)->click();
        QVERIFY(!m_session->Dialog()->isVisible());
        // The console continues: its message stays, its settings open, and it ends.
        QVERIFY(m_session->Window()->Home().Notice().contains(part));
        QCOMPARE(m_session->Window()->Status().LinkText(), QStringLiteral("No connection"));
        m_session->Window()->Launcher().SettingsButton()->click();
        QVERIFY(m_session->Settings()->isVisible());
        m_session->End();
        QVERIFY(m_session->Window() == nullptr);
    }

    void showsTheStateOfThisMomentWhenHomeOpens()
    {
        m_status.session = kesdkimpl::ESession::eLoggedIn;
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        const auto isOnHome = [this](const char* state) {
            return m_session->Window()->Home().Texts().contains(
                QStringLiteral("Connection\n%1").arg(QLatin1String(state)));
        };
        QVERIFY(QTest::qWaitFor([&] { return isOnHome("Connected"); }, 60000));
        m_session->Window()->Launcher().SettingsButton()->click();
        m_status.session = kesdkimpl::ESession::eLoggedOut;
        m_session->Window()->Launcher().HomeButton()->click();
        QVERIFY(isOnHome("Logged out"));
    }

    void showsTheServicesFilesOnTheHomePageAndInTheBadge()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        const auto curves = [this] { return m_session->Window()->Home().Texts().at(3); };
        QVERIFY(curves().startsWith(QStringLiteral("Curves\nOn KELVO: logged out\n")));
        Q_EMIT Hub()->KelvoLoggedIn();
        QVERIFY(curves().startsWith(QStringLiteral("Curves\nOn KELVO: not listed yet\n")));
        KelvoFileInfoList files;
        files.fileIds << 7 << 8;
        files.fileNames << QStringLiteral("a.zip") << QStringLiteral("b.zip");
        Q_EMIT Hub()->NewKelvoProjectFilesList(3, files);
        QVERIFY(curves().startsWith(QStringLiteral("Curves 2 new\nOn KELVO: 2\n")));
        QCOMPARE(FullViewButton()->Badge(), 2);
        Q_EMIT Hub()->KelvoLoggedOut();
        QVERIFY(curves().startsWith(QStringLiteral("Curves\nOn KELVO: logged out\n")));
        QCOMPARE(FullViewButton()->Badge(), 0);
    }

    void showsThatThePluginCannotCreateItsScreens()
    {
        qputenv("SCREENS_PLUGIN_THROWS", "1");
        Begin(ScreensPlugin_PATH);
        QVERIFY(QTest::qWaitFor([this] { return m_session->Dialog() != nullptr; }, 60000));
        QVERIFY(m_session->Dialog()->Message().contains(QStringLiteral("no canvas")));
        m_session->End();
        QCOMPARE(Log(), QStringList({QStringLiteral("initialised"), QStringLiteral("finalised")}));
    }

    void showsThePluginsScreens()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        QVERIFY(m_session->Dialog() == nullptr);
        QCOMPARE(Log(), QStringList({QStringLiteral("initialised"), QStringLiteral("screens"),
                                     QStringLiteral("Mini set up")}));
        QVERIFY(FullViewButton() != nullptr);
        FullViewButton()->click();
        QCOMPARE(Log().last(), QStringLiteral("Full set up"));
        QVERIFY(m_session->Window()->CurrentPage() != nullptr);
    }

    void fitsItsWindowIntoTheDisplay_data()
    {
        QTest::addColumn<bool>("isFullScreen");
        QTest::newRow("window") << false;
        QTest::newRow("full screen") << true;
    }

    void fitsItsWindowIntoTheDisplay()
    {
        QFETCH(bool, isFullScreen);
        const QRect display = QGuiApplication::primaryScreen()->availableGeometry();
        QVERIFY(display.height() <= 800); // as high as the window
        console::TStoredSettings stored = Stored();
        stored.isFullScreen = isFullScreen;
        Begin(QStringLiteral(ScreensPlugin_PATH), stored);
        const console::TMainWindow& window = *m_session->Window();
        QVERIFY(QTest::qWaitForWindowExposed(m_session->Window()));
        QCOMPARE(window.isFullScreen(), isFullScreen);
        QCOMPARE(window.geometry(), display);
        QCOMPARE(window.frameGeometry(), display);
        QVERIFY(window.windowFlags().testFlag(Qt::FramelessWindowHint));
    }

    void endsInOrder_data()
    {
        QTest::addColumn<bool>("forgets");
        QTest::newRow("screens removed by the plug-in") << false;
        QTest::newRow("screens left behind") << true;
    }

    void endsInOrder()
    {
        QFETCH(bool, forgets);
        if (forgets) {
            qputenv("SCREENS_PLUGIN_FORGETS", "1");
        }
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        FullViewButton()->click();
        Log().clear();
        QSignalSpy endRequested(m_session.get(), &TWindowSession::EndRequested);
        QSignalSpy windowGone(m_session->Window(), &QObject::destroyed);
        m_session->Window()->close();
        m_session->Window()->close();
        QCOMPARE(endRequested.count(), 1);
        QVERIFY(Log().isEmpty()); // the plug-in runs until End()
        QObject::connect(m_session->Window(), &QObject::destroyed,
                         [] { Log() << QStringLiteral("window gone"); });
        m_session->End();
        const QString full = QStringLiteral("Full gone");
        const QString mini = QStringLiteral("Mini gone");
        const QString finalised = QStringLiteral("finalised");
        const QString window = QStringLiteral("window gone");
        QCOMPARE(Log(), forgets ? QStringList({finalised, full, mini, window})
                                : QStringList({full, mini, finalised, window}));
        QCOMPARE(windowGone.count(), 1);
        QVERIFY(Hub() == nullptr);
    }

    void mayEndBeforeTheScreensAreCreated()
    {
        Begin(ScreensPlugin_PATH);
        m_session->End();
        QVERIFY(Log().contains(QStringLiteral("finalised")));
        QVERIFY(m_session->Window() == nullptr);
    }

    void showsAFailedLoginUntilTheNextLogin()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        const console::TLinkBanner& banner = m_session->Window()->Banner();
        Hub()->OnLoggingIntoKelvo();
        m_status.session = kesdkimpl::ESession::eLoginFailed;
        Hub()->OnLoginToKelvoFailed(QStringLiteral("There is no way to the service."));
        QVERIFY(banner.isVisible());
        QVERIFY(banner.Text().contains(QStringLiteral("no way")));
        m_status.session = kesdkimpl::ESession::eLoggedIn;
        Hub()->OnLoggingIntoKelvo();
        QVERIFY(!banner.isVisible());
        m_status.session = kesdkimpl::ESession::eLoginFailed;
        Hub()->OnLoginToKelvoFailed(QString());
        QVERIFY2(!banner.Text().contains(QStringLiteral("no way")),
                 "the reason of an earlier login");
    }

    void showsANewStateOfTheLinkWithoutASignalOfTheHub()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        const console::TStatusBar& bar = m_session->Window()->Status();
        m_status.session = kesdkimpl::ESession::eLoggedIn;
        QTRY_COMPARE(bar.LinkText(), QStringLiteral("Connected"));
        m_status.problem = kesdkimpl::EProblem::eNoAnswer;
        QTRY_COMPARE(bar.LinkText(), QStringLiteral("Service does not answer"));
        m_status.problem = kesdkimpl::EProblem::eNone;
        QTRY_COMPARE(bar.LinkText(), QStringLiteral("Connected"));
    }
};

KELVO_WIDGET_TEST_MAIN(TWindowSessionTest)
#include "tst_WindowSession.moc"
