// The console's screens in each language: no text is cut off on the smallest and the usual display.
#include "console/settings/Scrolling.h"
#include "console/settings/StoreErrors.h"
#include "console/settings/TSettingsPage.h"
#include "console/translations/DrawnTexts.h"
#include "console/translations/LongestStates.h"
#include "console/translations/ScreenFaults.h"
#include "console/translations/TInLanguage.h"
#include "console/window/Geometry.h"
#include "console/window/THomePage.h"
#include "console/window/TIconButton.h"
#include "console/window/TLauncherBar.h"
#include "console/window/TLinkBanner.h"
#include "console/window/TMainWindow.h"
#include "console/window/TMiniViewDock.h"
#include "console/window/TSampleSurface.h"
#include "console/window/TStatusBar.h"
#include "console/window/TWindowSession.h"
#include "console/window/TransferTexts.h"
#include "host/ConfigManager.h"
#include "host/TMessageDialog.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "hostimpl/Display.h"
#include "hostimpl/HostSetup.h"
#include "hostimpl/PopupHost.h"
#include "hostimpl/Theme.h"
#include "support/TTestCase.h"
#include "support/WidgetTestMain.h"

#include <QtCore/QTemporaryDir>
#include <QtTest/QtTest>
#include <QtWidgets/QLabel>

#include <cerrno>
#include <memory>

using console::TStoredSettings;

class TTranslatedScreensTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    static constexpr int firstChoiceRow = 4;

    QTemporaryDir m_folder;

    // Each of the settings has another invalid value.
    static QList<console::TStoredSettings> Refused(const console::TStoredSettings& good)
    {
        QList<console::TStoredSettings> refused{good, good, good, good};
        const QString path = QStringLiteral("/nowhere/in/a/folder/far/below/all/the/others");
        refused[0].service = QStringLiteral("//");
        refused[1].authorityFile = path;
        refused[2].positionSource = QStringLiteral("stars");
        refused[3].dataFolder = path.mid(1);
        return refused;
    }

    static void AddLanguages()
    {
        QTest::addColumn<QString>("code");
        for (const console::TLanguage& language : console::languages) {
            QTest::newRow(language.name) << QString::fromLatin1(language.code);
        }
    }

private Q_SLOTS:
    void initTestCase()
    {
        QString errorText;
        QVERIFY2(hostimpl::SetUpHost(m_folder.path(), errorText), qUtf8Printable(errorText));
        hostimpl::SetTheme(hostimpl::ETheme::eDay);
    }

    void showsAFailureInFull_data() { AddLanguagesAndTextSizes(); }

    void showsAFailureInFull()
    {
        QFETCH(QString, code);
        QFETCH(QSize, pixels);
        QFETCH(double, textFactor);
        const QSize size = SetDisplay(pixels, textFactor);
        const TInLanguage inLanguage(code);
        console::TConsoleSettings settings;
        settings.pluginPath = QStringLiteral("/usr/lib/kelvo/libkelvo.so");
        console::TStoredSettings stored;
        stored.dataFolder = m_folder.path();
        console::TWindowSession session(settings, stored);
        session.Begin();
        SetDisplay(pixels, textFactor); // the session takes the size of the test's display
        hostimpl::SetTheme(hostimpl::ETheme::eDay);
        session.Window()->resize(size);
        QCOMPARE(Faults(*session.Dialog()), QString());
        session.Dialog()->SetMessage(console::LoginFault(EACCES));
        QCOMPARE(Faults(*session.Dialog()), QString());
        session.Dialog()->CloseWindow();
        QCOMPARE(Faults(*session.Window()), QString());
    }

    void showsAboutAndTheQuestionInFull_data() { AddLanguagesAndTextSizes(); }

    void showsAboutAndTheQuestionInFull()
    {
        QFETCH(QString, code);
        QFETCH(QSize, pixels);
        QFETCH(double, textFactor);
        const QSize size = SetDisplay(pixels, textFactor);
        const TInLanguage inLanguage(code);
        console::TStoredSettings stored;
        stored.dataFolder = m_folder.path();
        console::TWindowSession session(console::TConsoleSettings(), stored);
        session.Begin();
        session.Dialog()->CloseWindow(); // there is no plug-in
        SetDisplay(pixels, textFactor);  // the session takes the size of the test's display
        hostimpl::SetTheme(hostimpl::ETheme::eDay);
        session.Window()->resize(size);
        session.Window()->Launcher().SettingsButton()->click();
        session.Settings()->AboutButton()->click();
        QCOMPARE(Faults(*session.Window()), QString());
        session.Window()->Launcher().SettingsButton()->click();
        session.Settings()->Row(0)->SetTextValue(QStringLiteral("farm.example"));
        session.Window()->Launcher().HomeButton()->click();
        QCOMPARE(Faults(*session.Question()), QString());
        session.Question()->SetMessage(QCoreApplication::translate(
            "console::TWindowSession",
            "An upload, download or deletion is running. After the restart, log in, select its "
            "files and start it again. Restart now?"));
        QCOMPARE(Faults(*session.Question()), QString());
    }

    void showsTheLinkInFull_data() { AddLanguagesAndTextSizes(); }

    void showsTheLinkInFull()
    {
        QFETCH(QString, code);
        QFETCH(QSize, pixels);
        QFETCH(double, textFactor);
        const QSize size = SetDisplay(pixels, textFactor);
        const TInLanguage inLanguage(code);
        TSampleSurface mini(QStringLiteral("Mini"), QSize(300, 330));
        console::TMainWindow window;
        window.resize(size);
        window.show();
        for (const bool hasMiniView : {false, true}) {
            if (hasMiniView) {
                window.Dock().Add(&mini);
            }
            for (const kesdkimpl::LinkStatus& link : kelvo::test::Links()) {
                window.Status().ShowLink(console::LinkWords(link));
                window.Banner().Show(link.session, QString());
                for (const console::TPositionState& position : kelvo::test::Positions()) {
                    window.Status().ShowPosition(position);
                    const QString faults = Faults(window);
                    QVERIFY2(faults.isEmpty(), qUtf8Printable(faults + QLatin1String("; ") +
                                                              window.Status().LinkText()));
                }
            }
        }
        for (const kesdkimpl::LinkStatus& link : kelvo::test::Transfers()) {
            window.Status().ShowLink(console::TransferWords(link, kelvo::test::Files()));
            QCOMPARE(Faults(window), QString());
        }
        window.Status().ShowLink(console::WorkWords({}, QStringLiteral("field.zip")));
        QCOMPARE(Faults(window), QString());
        window.Launcher().SetNight(true);
        QCOMPARE(Faults(window), QString());
        window.Dock().Remove(&mini);
    }

    void showsTheProgressInFull_data() { AddLanguagesAndTextSizes(); }

    void showsTheProgressInFull()
    {
        QFETCH(QString, code);
        QFETCH(QSize, pixels);
        QFETCH(double, textFactor);
        const QSize size = SetDisplay(pixels, textFactor);
        const TInLanguage inLanguage(code);
        QWidget page;
        console::TMainWindow window;
        window.AddPage(&page, QString());
        window.ShowPage(&page);
        window.resize(size);
        window.show();
        const QString name =
            QStringLiteral("north_field_2026_nitrogen_prescription_second_try.zip");
        TMessageDialog dialog(
            &page, QCoreApplication::translate("TKelvoFileControlWidget", "File Transfer"),
            QCoreApplication::translate("TKelvoFileControlWidget", "Downloading %1").arg(name),
            TMessageDialog::eOperation, false, QPixmap());
        dialog.ShowWindow(true);
        dialog.EnableButton(TMessageDialog::eButton0, false);
        console::TFileCount files = kelvo::test::Files(name);
        for (const bool isCancelled : {false, true}) {
            if (isCancelled) {
                files.NoteCancel();
            }
            for (const kesdkimpl::LinkStatus& link : kelvo::test::Transfers()) {
                hostimpl::SetTransferProgress(console::TransferProgress(link, files));
                QCOMPARE(Faults(dialog), QString());
                QVERIFY(DrawnTexts(dialog).join(QString()).contains(QLatin1String("988")));
            }
            hostimpl::SetTransferProgress(console::WorkProgress({}, name, files));
            QCOMPARE(Faults(dialog), QString());
        }
        const QString longName = QString(251, QLatin1Char('n')) + QStringLiteral(".zip");
        hostimpl::SetTransferProgress(console::WorkProgress({}, longName, files));
        QCOMPARE(CutOffWidgets(dialog), QStringList());
        for (const kesdkimpl::LinkStatus& link : kelvo::test::Links()) {
            hostimpl::SetTransferProgress(console::WorkProgress(link, {}, files));
            QCOMPARE(Faults(dialog), QString());
        }
        hostimpl::SetTransferProgress({});
    }

    void showsTheHomePageInFull_data() { AddLanguagesAndTextSizes(); }

    void showsTheHomePageInFull()
    {
        QFETCH(QString, code);
        QFETCH(QSize, pixels);
        QFETCH(double, textFactor);
        const QSize size = SetDisplay(pixels, textFactor);
        const TInLanguage inLanguage(code);
        TSampleSurface mini(QStringLiteral("Mini"), QSize(300, 330));
        TSampleSurface full(QStringLiteral("KELVO"));
        console::TMainWindow window;
        window.Dock().Add(&mini);
        window.Launcher().AddPage(&full, full.SurfaceIcon(), full.SurfaceTitle(), QString());
        window.resize(size);
        window.show();
        for (const console::THomeState& state : kelvo::test::HomeStates()) {
            window.Home().Show(state);
            window.Launcher().SetBadge(state.NewFiles());
            QCOMPARE(Faults(window), QString());
        }
        window.Dock().Remove(&mini);
    }

    void showsTheChoicesInFull_data() { AddLanguages(); }

    // On the smallest display only: clicks of the test must hit the display.
    void showsTheChoicesInFull()
    {
        QFETCH(QString, code);
        const TInLanguage inLanguage(code);
        console::TSettingsPage page;
        page.resize(800, 480);
        page.show();
        QCoreApplication::processEvents();
        for (int row = firstChoiceRow; row < page.RowCount(); ++row) {
            console::ScrollTo(page.Row(row));
            QTest::mouseClick(page.Row(row), Qt::LeftButton);
            QCOMPARE(hostimpl::OpenPopups().size(), 1);
            TPopupWindow* const choices = hostimpl::OpenPopups().first();
            QCOMPARE(Faults(*choices), QString());
            choices->CloseWindow();
        }
    }

    void showsTheEndingInFull_data() { AddLanguagesAndTextSizes(); }

    void showsTheEndingInFull()
    {
        QFETCH(QString, code);
        QFETCH(QSize, pixels);
        QFETCH(double, textFactor);
        const QSize size = SetDisplay(pixels, textFactor);
        const TInLanguage inLanguage(code);
        console::TMainWindow window;
        window.resize(size);
        window.show();
        window.ShowEnding();
        const QString word = QCoreApplication::translate("console::TMainWindow", "Ending...");
        QVERIFY(DrawnTexts(window).contains(word));
        const auto* const cover = window.findChild<QLabel*>(QString(), Qt::FindDirectChildrenOnly);
        QCOMPARE(cover->text(), word);
        QCOMPARE(cover->size(), size);
        QVERIFY(cover->minimumSizeHint().width() <= size.width());
    }

    void showsTheSettingsInFull_data() { AddLanguagesAndTextSizes(); }

    void showsTheSettingsInFull()
    {
        QFETCH(QString, code);
        QFETCH(QSize, pixels);
        QFETCH(double, textFactor);
        const QSize size = SetDisplay(pixels, textFactor);
        const TInLanguage inLanguage(code);
        console::TSettingsPage page;
        console::TStoredSettings settings;
        settings.dataFolder = m_folder.path();
        settings.language = code;
        TSampleSurface mini(QStringLiteral("Mini"), QSize(300, 330));
        console::TMainWindow window;
        window.Dock().Add(&mini);
        window.AddPage(&page, QCoreApplication::translate("console::TWindowSession", "Settings"));
        window.ShowPage(&page);
        window.resize(size);
        window.show();
        console::TStoredSettings inUse = settings;
        inUse.service = QStringLiteral("another-farm.example:8443");
        inUse.authorityFile = QStringLiteral("/nowhere/in/a/folder/far/below/all/the/others");
        inUse.positionSource = QStringLiteral("serial:/dev/serial/by-id/usb-receiver-1@115200");
        page.SetInUse(inUse);
        page.OfferRestart(true);
        for (const bool isOn : {false, true}) {
            settings.pin = isOn ? QStringLiteral("4711") : QString();
            settings.isNight = settings.isFullScreen = settings.isDataExchangeAllowed = isOn;
            page.SetGiven(isOn ? QVector<console::TTextSetting>{&TStoredSettings::service,
                                                                &TStoredSettings::authorityFile,
                                                                &TStoredSettings::positionSource}
                               : QVector<console::TTextSetting>());
            page.Show(settings);
            page.SetMessage(QCoreApplication::translate(
                "console::TWindowSession",
                "Kept. It applies from the next start of the console on."));
            QCOMPARE(Faults(window), QString());
        }
        page.SetMessage(QCoreApplication::translate(
            "console::TWindowSession",
            "Log out before you choose a user level without data exchange."));
        QCOMPARE(Faults(window), QString());
        for (const char* const pin : {"4712", "4711"}) { // a wrong PIN, the right PIN
            page.Pin()->SetTextValue(QLatin1String(pin));
            page.SaveButton()->click();
            QCOMPARE(Faults(window), QString());
        }
        page.PinRemoval()->SetNumericalValue(1);
        QCOMPARE(Faults(window), QString());
        settings.pin.clear(); // a locked page has nothing to refuse
        for (const console::TStoredSettings& refused : Refused(settings)) {
            QString errorText;
            QVERIFY(!console::CheckStoredSettings(refused, errorText));
            page.Show(refused);
            page.SaveButton()->click();
            QCOMPARE(page.Message(), errorText);
            const QList<TPropertyWidget*> rows = page.findChildren<TPropertyWidget*>();
            for (TPropertyWidget* const row : rows) {
                console::ScrollTo(row); // only what is in view is drawn
                QCOMPARE(Faults(*row), QString());
            }
            QCOMPARE(Faults(window), QString());
            QVERIFY(!page.SaveButton()->visibleRegion().isEmpty());
        }
        window.RemovePage(&page);
        window.Dock().Remove(&mini);
    }
};

KELVO_WIDGET_TEST_MAIN(TTranslatedScreensTest)
#include "tst_TranslatedScreens.moc"
