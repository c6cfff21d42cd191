// The settings page and the page about the console in the console's window.
#include "console/settings/Scrolling.h"
#include "console/settings/TAboutPage.h"
#include "console/settings/TSettingsPage.h"
#include "console/window/Geometry.h"
#include "console/window/TIconButton.h"
#include "console/window/TLauncherBar.h"
#include "console/window/TSessionFixture.h"
#include "core/TKelvoInterface.h"
#include "host/TMessageDialog.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "hostimpl/Folders.h"
#include "hostimpl/Theme.h"
#include "support/WidgetTestMain.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QLocale>
#include <QtCore/QStandardPaths>
#include <QtCore/QStorageInfo>
#include <QtTest/QSignalSpy>
#include <QtWidgets/QLineEdit>

#include <cerrno>

using console::TWindowSession;

Q_DECLARE_METATYPE(kesdkimpl::ESession)

namespace {

constexpr int passwordItem = 24290;

} // namespace

class TSessionSettingsTest : public TSessionFixture
{
    Q_OBJECT

private Q_SLOTS:
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
        const auto stored = Stored();
        QCOMPARE(stored.service, QStringLiteral("farm.example"));
        QVERIFY(stored.isNight);
        m_session->Window()->Launcher().LightButton()->click();
        QCOMPARE(hostimpl::CurrentTheme(), hostimpl::ETheme::eDay);
        QVERIFY(!Stored().isNight);
    }

    // A folder in place of a file makes each attempt to write the file fail.
    void saysThatTheSettingsCouldNotBeStored()
    {
        Begin(ScreensPlugin_PATH);
        m_session->Window()->Launcher().SettingsButton()->click();
        console::TSettingsPage& page = *m_session->Settings();
        const QString file = m_folder.filePath(QStringLiteral("console.json"));
        const QString aside = file + QStringLiteral(".aside");
        QVERIFY(QFile::rename(file, aside) && QDir().mkdir(file));
        {
            const kelvo::test::TExpectedMessage warned(QStringLiteral("cannot be written"));
            page.Row(0)->SetTextValue(QStringLiteral("farm.example"));
            for (int attempt = 0; attempt < 2; ++attempt) {
                page.SaveButton()->click();
                QVERIFY2(page.Message().contains(QStringLiteral("could not be stored")),
                         qUtf8Printable(page.Message()));
                QVERIFY(page.Message().contains(QStringLiteral("error %1").arg(EISDIR)));
                QVERIFY(!page.RestartButton()->isVisible());
            }
            page.Row(5)->SetNumericalValue(1); // applies at once, and is not stored either
            QCOMPARE(hostimpl::CurrentTheme(), hostimpl::ETheme::eNight);
            QVERIFY(page.Message().contains(QStringLiteral("could not be stored")));
            QVERIFY(warned.Count() > 0);
        }
        QVERIFY(QDir().rmdir(file) && QFile::rename(aside, file));
        page.Row(5)->SetNumericalValue(0);
        QCOMPARE(page.Message(), QString()); // all settings are stored now
        page.SaveButton()->click();
        QVERIFY2(page.Message().contains(QStringLiteral("next start")),
                 qUtf8Printable(page.Message()));
        QVERIFY(page.RestartButton()->isVisible());
        hostimpl::TConfigStore next;
        QCOMPARE(next.Open(file), QString());
        QCOMPARE(console::ReadStoredSettings(next).service, QStringLiteral("farm.example"));
    }

    void saysAtTheLoginThatThePasswordCouldNotBeStored_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("reason");
        QTest::newRow("the items") << m_folder.filePath(QStringLiteral("console.json"))
                                   << QStringLiteral("error %1").arg(EISDIR);
        QTest::newRow("the key") << m_folder.filePath(QStringLiteral("console.json.key"))
                                 << QStringLiteral("the password cannot be encrypted");
    }

    void saysAtTheLoginThatThePasswordCouldNotBeStored()
    {
        QFETCH(QString, path);
        QFETCH(QString, reason);
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        ConfigManager::Instance().SetItem(passwordItem, QStringLiteral("first"), true);
        Q_EMIT Hub()->KelvoLoggedIn();
        QVERIFY(m_session->Dialog() == nullptr);
        const QString aside = path + QStringLiteral(".aside");
        QVERIFY(QFile::rename(path, aside) && QDir().mkdir(path));
        {
            const kelvo::test::TExpectedMessage warned(QStringLiteral("console.json"));
            ConfigManager::Instance().SetItem(passwordItem, QStringLiteral("second"), true);
            Q_EMIT Hub()->KelvoLoggedIn();
            QVERIFY(warned.Count() > 0);
        }
        QVERIFY(QDir().rmdir(path) && QFile::rename(aside, path));
        QVERIFY(m_session->Dialog() != nullptr && m_session->Dialog()->isVisible());
        QVERIFY2(m_session->Dialog()->Message().contains(QStringLiteral("the password")),
                 qUtf8Printable(m_session->Dialog()->Message()));
        QVERIFY2(m_session->Dialog()->Message().contains(reason),
                 qUtf8Printable(m_session->Dialog()->Message()));
        m_session->Dialog()->CloseWindow();
        Q_EMIT Hub()->KelvoLoggedIn(); // this login stores the password
        QVERIFY(!m_session->Dialog()->isVisible());
    }

    void storesTheOtherSettingsIfTheDataFolderCannotBeStored()
    {
        Begin(ScreensPlugin_PATH);
        m_session->Window()->Launcher().SettingsButton()->click();
        console::TSettingsPage& page = *m_session->Settings();
        const QString file =
            QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
            QStringLiteral("/kelvo-console.ini");
        QFile::remove(file);
        QVERIFY(QDir().mkpath(file));
        for (int attempt = 0; attempt < 2; ++attempt) {
            page.Row(3)->SetTextValue(m_folder.filePath(QStringLiteral("other")));
            page.Row(6)->SetNumericalValue(0);
            page.SaveButton()->click();
            QVERIFY2(page.Message().contains(QStringLiteral("data folder could not be stored")),
                     qUtf8Printable(page.Message()));
            QVERIFY(page.Message().contains(file));
            QCOMPARE(page.Row(3)->GetTextValue(), m_folder.path()); // is still stored
            QVERIFY(!page.RestartButton()->isVisible());
        }
        QVERIFY(!Stored().isDataExchangeAllowed);
        QVERIFY(QDir().rmdir(file));
        page.Row(3)->SetTextValue(m_folder.filePath(QStringLiteral("other")));
        page.SaveButton()->click();
        QVERIFY2(page.Message().contains(QStringLiteral("next start")),
                 qUtf8Printable(page.Message()));
        QCOMPARE(Stored().dataFolder, m_folder.filePath(QStringLiteral("other")));
    }

    void keepsTheUserLevelWhileAUserIsLoggedIn_data()
    {
        QTest::addColumn<kesdkimpl::ESession>("session");
        QTest::newRow("logging in") << kesdkimpl::ESession::eConnecting;
        QTest::newRow("logged in") << kesdkimpl::ESession::eLoggedIn;
    }

    void keepsTheUserLevelWhileAUserIsLoggedIn()
    {
        QFETCH(kesdkimpl::ESession, session);
        Begin(ScreensPlugin_PATH);
        m_session->Window()->Launcher().SettingsButton()->click();
        console::TSettingsPage& page = *m_session->Settings();
        m_status.session = session;
        page.Row(6)->SetNumericalValue(0);
        page.SaveButton()->click();
        QVERIFY2(page.Message().startsWith(QStringLiteral("Log out")),
                 qUtf8Printable(page.Message()));
        QVERIFY(page.HasChanges() && Stored().isDataExchangeAllowed);
        m_status.session = kesdkimpl::ESession::eLoggedOut;
        page.SaveButton()->click();
        QCOMPARE(page.Message(), QStringLiteral("Kept."));
        QVERIFY(!Stored().isDataExchangeAllowed);
        m_status.session = session;
        page.Row(6)->SetNumericalValue(1);
        page.SaveButton()->click();
        QCOMPARE(page.Message(), QStringLiteral("Kept."));
        QVERIFY(Stored().isDataExchangeAllowed);
    }

    void appliesTheDisplayAtOnce()
    {
        Begin(ScreensPlugin_PATH);
        m_session->Window()->Launcher().SettingsButton()->click();
        console::TSettingsPage& page = *m_session->Settings();
        page.Row(0)->SetTextValue(QStringLiteral("farm.example"));
        page.Row(5)->SetNumericalValue(1);
        QCOMPARE(hostimpl::CurrentTheme(), hostimpl::ETheme::eNight);
        const auto stored = Stored();
        QVERIFY(stored.isNight);
        QVERIFY(stored.service.isEmpty());
        const int usual = hostimpl::ThemeFont(hostimpl::EFont::eBody).pixelSize();
        m_session->Window()->resize(800, 480);
        QCoreApplication::processEvents();
        page.Row(8)->setFocus();
        console::ScrollTo(page.Row(8));
        page.Row(8)->SetNumericalValue(1);
        QVERIFY(hostimpl::ThemeFont(hostimpl::EFont::eBody).pixelSize() > usual);
        QVERIFY(Stored().isTextLarge);
        QCoreApplication::processEvents();
        const int shown = page.Row(8)->visibleRegion().boundingRect().height();
        QCOMPARE(shown, page.Row(8)->height()); // larger notes move the row
        // The launcher's button and the page show the same colours.
        m_session->Window()->Launcher().LightButton()->click();
        QCOMPARE(page.Row(5)->GetNumericalValue(), 0.0);
        QCOMPARE(page.Row(0)->GetTextValue(), QStringLiteral("farm.example"));
        page.DiscardButton()->click();
        QVERIFY(!page.HasChanges() && !page.RestartButton()->isVisible());
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
        TMessageDialog* const question = m_session->Question();
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
        QCOMPARE(m_session->Question(), nullptr);
    }

    void locksTheInstallersSettingsWhenThePageIsOpened()
    {
        console::TStoredSettings stored = Stored();
        stored.pin = QStringLiteral("4711");
        Begin(QStringLiteral(ScreensPlugin_PATH), stored);
        console::TMainWindow& window = *m_session->Window();
        console::TSettingsPage& page = *m_session->Settings();
        window.Launcher().SettingsButton()->click();
        QVERIFY(!page.Row(0)->isEnabled());
        QVERIFY(QTest::qWaitForWindowActive(&window));
        auto* const edit = page.Pin()->findChild<QLineEdit*>();
        edit->setFocus();
        QTest::keyClicks(edit, stored.pin);
        QTest::keyClick(edit, Qt::Key_Return); // ends the entry as a press of the wheel does
        QCOMPARE(window.CurrentPage(), &page);
        QVERIFY(page.Row(0)->isEnabled());
        page.SaveButton()->click();
        QVERIFY(page.Row(0)->isEnabled()); // the installer may go on
        window.Launcher().HomeButton()->click();
        window.Launcher().SettingsButton()->click();
        QVERIFY(!page.Row(0)->isEnabled());
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
        m_session->Question()->GetMessageDialogButton(TMessageDialog::eButton0)->click();
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
        QVERIFY(text.contains(QLocale().formattedDataSize(
            QStorageInfo(hostimpl::DataFolder()).bytesTotal(), 1, QLocale::DataSizeSIFormat)));
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

KELVO_WIDGET_TEST_MAIN(TSessionSettingsTest)
#include "tst_SessionSettings.moc"
