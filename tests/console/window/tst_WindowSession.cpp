// The console with its window, from start to end, with plug-ins of several kinds.
#include "console/fixtures/ScreensPlugin.h"
#include "console/settings/TAboutPage.h"
#include "console/settings/TSettingsPage.h"
#include "console/window/Geometry.h"
#include "console/window/THomePage.h"
#include "console/window/TIconButton.h"
#include "console/window/TLauncherBar.h"
#include "console/window/TLinkBanner.h"
#include "console/window/TMiniViewDock.h"
#include "console/window/TStatusBar.h"
#include "console/window/TWindowSession.h"
#include "core/TKelvoInterface.h"
#include "host/ConfigManager.h"
#include "host/TMessageDialog.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "hostimpl/Folders.h"
#include "hostimpl/HostSetup.h"
#include "hostimpl/Theme.h"
#include "support/TTestCase.h"
#include "support/WidgetTestMain.h"

#include <QtCore/QFile>
#include <QtCore/QLibrary>
#include <QtCore/QLocale>
#include <QtCore/QStorageInfo>
#include <QtCore/QTemporaryDir>
#include <QtGui/QScreen>
#include <QtTest/QSignalSpy>

#include <algorithm>
#include <memory>

using console::TWindowSession;

class TWindowSessionTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;
    std::unique_ptr<TWindowSession> m_session;
    kesdkimpl::LinkStatus m_status;

    void Begin(const QString& plugin, const console::TStoredSettings& stored)
    {
        console::TConsoleSettings settings;
        settings.pluginPath = plugin;
        m_session = std::make_unique<TWindowSession>(settings, stored, [this] { return m_status; });
        m_session->Begin();
    }

    void Begin(const char* plugin)
    {
        Begin(QString::fromUtf8(plugin), console::ReadStoredSettings(ConfigManager::Instance()));
    }

    // Waits until the fixture's screens are in the window.
    bool WaitForScreens()
    {
        return QTest::qWaitFor([this] { return !m_session->Window()->Dock().IsEmpty(); }, 60000);
    }

    static QStringList& Log()
    {
        QLibrary library(QStringLiteral(ScreensPlugin_PATH));
        return *reinterpret_cast<TScreensPluginLog>(library.resolve("ScreensPluginLog"))();
    }

    static TKelvoInterface* Hub()
    {
        QLibrary library(QStringLiteral(ScreensPlugin_PATH));
        return reinterpret_cast<TKelvoInterface* (*)()>(library.resolve("GetKelvoInterface"))();
    }

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
    void initTestCase()
    {
        QString errorText;
        QVERIFY2(hostimpl::SetUpHost(m_folder.path(), errorText), qUtf8Printable(errorText));
    }

    void init()
    {
        Log().clear();
        m_status = {};
        qunsetenv("SCREENS_PLUGIN_THROWS");
        qunsetenv("SCREENS_PLUGIN_FORGETS");
        console::TStoredSettings defaults;
        defaults.dataFolder = m_folder.path();
        QVERIFY(console::WriteStoredSettings(ConfigManager::Instance(), defaults));
    }

    void cleanup()
    {
        m_session.reset();
        TTestCase::cleanup();
    }

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
        Begin(path, console::ReadStoredSettings(ConfigManager::Instance()));
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

    // After the last transfer of an operation, the files are unpacked for a while.
    void showsNoEndedTransferWhileFilesAreUnpacked()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        TMessageDialog dialog(nullptr, QString(), QString(), TMessageDialog::eOperation, false,
                              QPixmap());
        dialog.ShowWindow(true);
        dialog.EnableButton(TMessageDialog::eButton0, false);
        const auto isTransferShown = [&dialog] {
            const auto widgets = dialog.findChildren<QWidget*>();
            return std::any_of(widgets.cbegin(), widgets.cend(), [](const QWidget* widget) {
                return widget->inherits("TTransferProgress") && widget->isVisible();
            });
        };
        Q_EMIT Hub()->KelvoDownloadRequested(0, {QStringLiteral("a.zip")}, {});
        m_status.transfer = kesdkimpl::TransferStatus();
        m_status.transfer->phase = kesdkimpl::EPhase::eWaits;
        QVERIFY(QTest::qWaitFor(isTransferShown, 60000));
        m_status.transfer.reset();
        QVERIFY(QTest::qWaitFor([&] { return !isTransferShown(); }, 60000));
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
        console::TStoredSettings stored = console::ReadStoredSettings(ConfigManager::Instance());
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

    void storesChangedSettings()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        m_session->Window()->Launcher().SettingsButton()->click();
        console::TSettingsPage& page = *m_session->Settings();
        page.Row(0)->SetTextValue(QStringLiteral("farm.example"));
        page.Row(5)->SetNumericalValue(1);
        page.SaveButton()->click();
        QVERIFY2(page.Message().contains(QStringLiteral("next start")),
                 qUtf8Printable(page.Message()));
        QVERIFY(page.RestartButton()->isVisible() && !page.DiscardButton()->isVisible());
        QCOMPARE(page.Note(0), QStringLiteral("In use: The usual one"));
        QCOMPARE(hostimpl::CurrentTheme(), hostimpl::ETheme::eNight);
        const auto stored = console::ReadStoredSettings(ConfigManager::Instance());
        QCOMPARE(stored.service, QStringLiteral("farm.example"));
        QVERIFY(stored.isNight);
        m_session->Window()->Launcher().LightButton()->click();
        QCOMPARE(hostimpl::CurrentTheme(), hostimpl::ETheme::eDay);
        QVERIFY(!console::ReadStoredSettings(ConfigManager::Instance()).isNight);
    }

    void appliesTheDisplayAtOnce()
    {
        Begin(ScreensPlugin_PATH);
        m_session->Window()->Launcher().SettingsButton()->click();
        console::TSettingsPage& page = *m_session->Settings();
        page.Row(0)->SetTextValue(QStringLiteral("farm.example"));
        page.Row(5)->SetNumericalValue(1);
        QCOMPARE(hostimpl::CurrentTheme(), hostimpl::ETheme::eNight);
        const auto stored = console::ReadStoredSettings(ConfigManager::Instance());
        QVERIFY(stored.isNight);
        QVERIFY(stored.service.isEmpty());
        // The launcher's button and the page show the same colours.
        m_session->Window()->Launcher().LightButton()->click();
        QCOMPARE(page.Row(5)->GetNumericalValue(), 0.0);
        QCOMPARE(page.Row(0)->GetTextValue(), QStringLiteral("farm.example"));
        page.DiscardButton()->click();
        QVERIFY(!page.HasChanges());
    }

    void asksBeforeChangesAreLost_data()
    {
        QTest::addColumn<bool>("isLeft");
        QTest::newRow("yes") << true;
        QTest::newRow("no") << false;
    }

    void asksBeforeChangesAreLost()
    {
        QFETCH(bool, isLeft);
        Begin(ScreensPlugin_PATH);
        console::TMainWindow& window = *m_session->Window();
        window.Launcher().SettingsButton()->click();
        console::TSettingsPage& page = *m_session->Settings();
        page.Row(0)->SetTextValue(QStringLiteral("farm.example"));
        window.Launcher().HomeButton()->click();
        QCOMPARE(window.CurrentPage(), &page);
        QVERIFY(window.Launcher().SettingsButton()->isChecked());
        TMessageDialog* const question = m_session->LeaveQuestion();
        QVERIFY(question != nullptr && question->isVisible());
        question
            ->GetMessageDialogButton(isLeft ? TMessageDialog::eButton0 : TMessageDialog::eButton1)
            ->click();
        QCOMPARE(window.CurrentPage(), isLeft ? nullptr : static_cast<QWidget*>(&page));
        QCOMPARE(page.HasChanges(), !isLeft);
    }

    void leavesTheSettingsWithoutAQuestionIfNothingChanged()
    {
        Begin(ScreensPlugin_PATH);
        console::TMainWindow& window = *m_session->Window();
        window.Launcher().SettingsButton()->click();
        QVERIFY(window.OnBackPressed());
        QCOMPARE(window.CurrentPage(), nullptr);
        QCOMPARE(m_session->LeaveQuestion(), nullptr);
    }

    void locksTheInstallersSettingsWhenThePageIsOpened()
    {
        console::TStoredSettings stored = console::ReadStoredSettings(ConfigManager::Instance());
        stored.pin = QStringLiteral("4711");
        Begin(QStringLiteral(ScreensPlugin_PATH), stored);
        console::TMainWindow& window = *m_session->Window();
        console::TSettingsPage& page = *m_session->Settings();
        window.Launcher().SettingsButton()->click();
        QVERIFY(!page.Row(0)->isEnabled());
        page.Pin()->SetTextValue(stored.pin);
        QVERIFY(page.Row(0)->isEnabled());
        page.SaveButton()->click();
        QVERIFY(page.Row(0)->isEnabled()); // the installer may go on
        window.Launcher().HomeButton()->click();
        window.Launcher().SettingsButton()->click();
        QVERIFY(!page.Row(0)->isEnabled());
    }

    void endsForANewStart()
    {
        Begin(ScreensPlugin_PATH);
        m_session->Window()->Launcher().SettingsButton()->click();
        console::TSettingsPage& page = *m_session->Settings();
        page.Row(0)->SetTextValue(QStringLiteral("farm.example"));
        QVERIFY(!page.RestartButton()->isVisible());
        page.SaveButton()->click();
        page.Row(0)->SetTextValue(QStringLiteral("other.example"));
        QVERIFY(!page.RestartButton()->isVisible() && page.DiscardButton()->isVisible());
        page.DiscardButton()->click();
        QSignalSpy ends(m_session.get(), &TWindowSession::EndRequested);
        QVERIFY(!m_session->IsRestartWanted());
        page.RestartButton()->click();
        QCOMPARE(ends.count(), 1);
        QVERIFY(m_session->IsRestartWanted());
    }

    void offersNoNewStartForTheSettingsOfThisStart()
    {
        Begin(ScreensPlugin_PATH);
        m_session->Window()->Launcher().SettingsButton()->click();
        console::TSettingsPage& page = *m_session->Settings();
        const QString before = page.Row(0)->GetTextValue();
        page.Row(0)->SetTextValue(QStringLiteral("farm.example"));
        page.SaveButton()->click();
        page.Row(0)->SetTextValue(before);
        page.SaveButton()->click();
        QVERIFY(!page.RestartButton()->isVisible());
        QCOMPARE(page.Message(), QStringLiteral("Kept."));
    }

    void asksBeforeTheEndIfChangesAreLost()
    {
        Begin(ScreensPlugin_PATH);
        console::TMainWindow& window = *m_session->Window();
        window.Launcher().SettingsButton()->click();
        m_session->Settings()->Row(0)->SetTextValue(QStringLiteral("farm.example"));
        QSignalSpy ends(m_session.get(), &TWindowSession::EndRequested);
        window.close();
        QCOMPARE(ends.count(), 0);
        m_session->LeaveQuestion()->GetMessageDialogButton(TMessageDialog::eButton0)->click();
        QCOMPARE(ends.count(), 1);
    }

    void showsThePageAboutTheConsole()
    {
        QFile log(hostimpl::DataFolder() + QStringLiteral("/logs/user.log"));
        QVERIFY(log.open(QIODevice::WriteOnly));
        for (int line = 0; line < 2000; ++line) {
            QVERIFY(log.write(QByteArray("line <") + QByteArray::number(line) + ">\n") > 0);
        }
        QVERIFY(log.write(QByteArray(300, 'x')) > 0); // one long word
        log.close();
        Begin(ScreensPlugin_PATH);
        m_session->Window()->resize(800, 480);
        m_session->Window()->Launcher().SettingsButton()->click();
        m_session->Settings()->AboutButton()->click();
        QCoreApplication::processEvents();
        QCOMPARE(CutOffWidgets(*m_session->Window()), QStringList());
        QCOMPARE(m_session->Window()->CurrentPage(), m_session->About());
        const QString text = m_session->About()->Text();
        QVERIFY(text.contains(QStringLiteral("line &lt;1999&gt;")));
        QVERIFY(text.contains(QStringLiteral("line &lt;1981&gt;")));
        QVERIFY(!text.contains(QStringLiteral("line &lt;1980&gt;")));
        QVERIFY(text.contains(
            QLocale().formattedDataSize(QStorageInfo(hostimpl::DataFolder()).bytesTotal())));
        QVERIFY(text.contains(QLatin1String(qVersion())));
        QVERIFY(text.contains(QStringLiteral("libarchive: BSD")));
        QVERIFY(m_session->About()->OnWheelTurned(1));
        QVERIFY(!m_session->About()->OnWheelTurned(1000) ||
                !m_session->About()->OnWheelTurned(1)); // at the end the focus moves on
        log.remove();
        QVERIFY(m_session->Window()->OnBackPressed());
        m_session->Settings()->AboutButton()->click();
        QVERIFY(m_session->About()->Text().contains(QStringLiteral("The log is empty.")));
    }

    void cutsNothingOffOnTheSettingsPage()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        m_session->Window()->Launcher().SettingsButton()->click();
        for (const QSize size : {QSize(1280, 800), QSize(800, 480)}) {
            m_session->Window()->resize(size);
            QCoreApplication::processEvents();
            const QStringList cutOff = CutOffWidgets(*m_session->Window());
            QVERIFY2(cutOff.isEmpty(), qUtf8Printable(cutOff.join(QLatin1Char('\n'))));
        }
    }
};

KELVO_WIDGET_TEST_MAIN(TWindowSessionTest)
#include "tst_WindowSession.moc"
