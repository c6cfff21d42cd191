// The settings page in the console's window: which changes need a new start of the console, and how
// it is asked for.
#include "console/settings/TSettingsPage.h"
#include "console/window/TIconButton.h"
#include "console/window/TLauncherBar.h"
#include "console/window/TSessionFixture.h"
#include "core/TKelvoInterface.h"
#include "host/TMessageDialog.h"
#include "host/TPropertyWidget.h"
#include "host/TPushButton.h"
#include "support/WidgetTestMain.h"

#include <QtCore/QFile>
#include <QtTest/QSignalSpy>

using console::TWindowSession;

class TNewStartTest : public TSessionFixture
{
    Q_OBJECT

private Q_SLOTS:
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
        page.RestartButton()->click();
        QCOMPARE(ends.count(), 1);
        QVERIFY(m_session->IsRestartWanted());
    }

    void asksBeforeANewStartEndsAnOperation()
    {
        Begin(ScreensPlugin_PATH);
        QVERIFY(WaitForScreens());
        m_session->Window()->Launcher().SettingsButton()->click();
        console::TSettingsPage& page = *m_session->Settings();
        page.Row(0)->SetTextValue(QStringLiteral("farm.example"));
        page.SaveButton()->click();
        QSignalSpy ends(m_session.get(), &TWindowSession::EndRequested);
        Q_EMIT Hub()->KelvoDownloadRequested(0, {QStringLiteral("a.zip"), QStringLiteral("b.zip")},
                                             {});
        page.RestartButton()->click();
        QVERIFY(m_session->Question() != nullptr && m_session->Question()->isVisible());
        m_session->Question()->GetMessageDialogButton(TMessageDialog::eButton1)->click();
        QCOMPARE(ends.count(), 0);
        QVERIFY(!m_session->IsRestartWanted());
        page.RestartButton()->click();
        m_session->Question()->GetMessageDialogButton(TMessageDialog::eButton0)->click();
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

    void offersNoNewStartForWhatTheCommandLineSets_data()
    {
        QTest::addColumn<int>("row");
        QTest::addColumn<QString>("value");
        QTest::newRow("service") << 0 << QStringLiteral("farm.example");
        QTest::newRow("certificate") << 1 << QStringLiteral(ScreensPlugin_PATH); // any file
        QTest::newRow("data folder") << 3 << m_folder.filePath(QStringLiteral("other"));
    }

    void offersNoNewStartForWhatTheCommandLineSets()
    {
        QFETCH(int, row);
        QFETCH(QString, value);
        m_settings.isServiceGiven = row == 0;
        m_settings.isAuthorityGiven = row == 1;
        m_settings.isDataFolderGiven = row == 3;
        Begin(ScreensPlugin_PATH);
        m_session->Window()->Launcher().SettingsButton()->click();
        console::TSettingsPage& page = *m_session->Settings();
        const QString note = QStringLiteral("The command line sets");
        QVERIFY2(page.Note(row).startsWith(note), qUtf8Printable(page.Note(row)));
        page.Row(row)->SetTextValue(value);
        page.SaveButton()->click();
        QCOMPARE(page.Message(), QStringLiteral("Kept."));
        QVERIFY(page.Note(row).contains(QStringLiteral("A restart does not change this")));
        QVERIFY(!page.RestartButton()->isVisible());
        // A new start is for the other settings.
        page.Row(4)->SetNumericalValue(1);
        page.SaveButton()->click();
        QVERIFY(page.RestartButton()->isVisible());
    }

    void saysThatTheCommandLineSetsThePositionSourceAgain()
    {
        QFile log(m_folder.filePath(QStringLiteral("log.nmea")));
        QVERIFY(log.open(QIODevice::WriteOnly));
        const QString source = QStringLiteral("nmea:") + log.fileName();
        m_settings.isGpsGiven = true;
        QString errorText;
        QVERIFY(console::ParseGpsSetting(source, m_settings.gps, errorText));
        Begin(ScreensPlugin_PATH);
        m_session->Window()->Launcher().SettingsButton()->click();
        console::TSettingsPage& page = *m_session->Settings();
        QVERIFY2(page.Note(2).contains(QStringLiteral("sets ") + source),
                 qUtf8Printable(page.Note(2)));
        page.Row(2)->SetTextValue(source + QStringLiteral("@2"));
        page.SaveButton()->click();
        QVERIFY2(page.Note(2).contains(QStringLiteral("At the next start")),
                 qUtf8Printable(page.Note(2)));
        QVERIFY(!page.RestartButton()->isVisible());
    }
};

KELVO_WIDGET_TEST_MAIN(TNewStartTest)
#include "tst_NewStart.moc"
