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
#include "host/TProgressDialog.h"
#include "host/TPushButton.h"
#include "support/TTestCase.h"
#include "support/WidgetTestMain.h"

#include <QtGui/QScreen>
#include <QtTest/QSignalSpy>

#include <algorithm>

using console::TWindowSession;

namespace {

const QStringList names{QStringLiteral("a.zip"), QStringLiteral("b.zip")};

// An operation with files, as the hub tells it.
struct TOperation
{
    const char* name;
    void (*request)(TKelvoInterface& hub);
    void (TKelvoInterface::*file)(int, QString);
    void (TKelvoInterface::*end)(int, KelvoFileTransferErrorDetailsList);
};
const TOperation operations[] = {
    {"upload", [](TKelvoInterface& hub) { Q_EMIT hub.KelvoUploadRequested(0, names); },
     &TKelvoInterface::KelvoUploadingFile, &TKelvoInterface::KelvoUploadComplete},
    {"download", [](TKelvoInterface& hub) { Q_EMIT hub.KelvoDownloadRequested(0, names, {}); },
     &TKelvoInterface::KelvoDownloadingFile, &TKelvoInterface::KelvoDownloadComplete},
    {"deletion", [](TKelvoInterface& hub) { Q_EMIT hub.KelvoDeleteFilesRequested(0, names, {}); },
     &TKelvoInterface::KelvoDeletingFile, &TKelvoInterface::KelvoDeleteComplete},
};

} // namespace

Q_DECLARE_METATYPE(TOperation)

class TWindowSessionTest : public kelvo::test::TTestCase, protected TSessionFixture
{
    Q_OBJECT

private:
    static TKelvoInterface* Hub()
    {
        QLibrary library(QStringLiteral(ScreensPlugin_PATH));
        return reinterpret_cast<TKelvoInterface* (*)()>(library.resolve("GetKelvoInterface"))();
    }

    static KelvoFileTransferErrorDetailsList Errors(bool hasError)
    {
        KelvoFileTransferErrorDetailsList errors;
        if (hasError) {
            errors << KelvoFileTransferErrorDetails();
        }
        return errors;
    }

    // An EOutcome; -1 without a sign.
    static int ShownOutcome(const QWidget& dialog)
    {
        const auto widgets = dialog.findChildren<QWidget*>();
        const auto sign = std::find_if(widgets.cbegin(), widgets.cend(), [](const QWidget* widget) {
            return widget->inherits("TOutcomeSign");
        });
        return sign == widgets.cend() ? -1 : (*sign)->property("outcome").toInt();
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
    void initTestCase() { QVERIFY2(SetUp(), qUtf8Printable(m_errorText)); }

    void init() { QVERIFY(Reset()); }

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

    void showsHowAnOperationEnded_data()
    {
        QTest::addColumn<TOperation>("operation");
        QTest::addColumn<int>("started");
        QTest::addColumn<bool>("hasError");
        QTest::addColumn<int>("outcome"); // an EOutcome
        for (const TOperation& each : operations) {
            QTest::addRow("%s, success", each.name) << each << 2 << false << 1;
            QTest::addRow("%s, failure", each.name) << each << 2 << true << 2;
            QTest::addRow("%s, cancelled before the second file", each.name)
                << each << 1 << false << 0;
        }
    }

    void showsHowAnOperationEnded()
    {
        QFETCH(TOperation, operation);
        QFETCH(int, started);
        QFETCH(bool, hasError);
        QFETCH(int, outcome);
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        TMessageDialog dialog(nullptr, QString(), QString(), TMessageDialog::eOperation, false,
                              QPixmap());
        dialog.ShowWindow(true);
        const auto run = [&] {
            operation.request(*Hub());
            dialog.EnableButton(TMessageDialog::eButton0, false);
            for (int file = 0; file < started; ++file) {
                Q_EMIT(Hub()->*operation.file)(0, names.at(file));
            }
        };
        run();
        Q_EMIT(Hub()->*operation.end)(0, Errors(hasError));
        QCOMPARE(ShownOutcome(dialog), 0); // the operation runs until the dialog can be closed
        dialog.EnableButton(TMessageDialog::eButton0, true);
        QCOMPARE(ShownOutcome(dialog), outcome);
        run();
        dialog.EnableButton(TMessageDialog::eButton0, true);
        QCOMPARE(ShownOutcome(dialog), 0); // not the outcome of the operation before
    }

    void showsHowTheSetUpEnded()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        for (const bool hasError : {false, true}) {
            TProgressDialog dialog(nullptr, QString(), TProgressDialog::ePercentage, true);
            dialog.ShowWindow(false);
            Q_EMIT Hub()->KelvoUserInboxSetupInProgress(50);
            dialog.SetProgress(50);
            QCOMPARE(ShownOutcome(dialog), 0);
            Q_EMIT Hub()->KelvoUserInboxSetupComplete(Errors(hasError));
            dialog.SetProgress(100);
            QCOMPARE(ShownOutcome(dialog), hasError ? 2 : 1);
        }
    }

    void showsThatALoginFailedAndNoSignBesideANotice()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        TMessageDialog dialog(nullptr, QString(), QString(), TMessageDialog::eAcknowledge, false,
                              QPixmap());
        for (const bool hasFailed : {false, true, false}) {
            Hub()->OnLoggingIntoKelvo();
            if (hasFailed) {
                Hub()->OnLoginToKelvoFailed(QString());
            }
            dialog.ShowWindow(true);
            QCOMPARE(ShownOutcome(dialog), hasFailed ? 2 : 0);
            dialog.CloseWindow();
        }
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
