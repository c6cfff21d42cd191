// The stored settings: stored values and refused values.
#include "console/settings/Languages.h"
#include "console/settings/StoredSettings.h"
#include "hostimpl/HostSetup.h"
#include "hostimpl/TConfigStore.h"
#include "support/TTestCase.h"
#include "support/TestMain.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>

using console::TStoredSettings;

class TStoredSettingsTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private:
    QTemporaryDir m_folder;

    static void ForgetTheDataFolder()
    {
        QFile::remove(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                      QStringLiteral("/kelvo-console.ini"));
    }

private Q_SLOTS:
    void init() { ForgetTheDataFolder(); }
    void cleanupTestCase() { ForgetTheDataFolder(); }

    void storesAllSettings()
    {
        QString errorText;
        QVERIFY2(hostimpl::SetUpHost(m_folder.path(), errorText), qUtf8Printable(errorText));
        TStoredSettings settings;
        settings.service = QStringLiteral("farm.example:8443");
        settings.authorityFile = QStringLiteral("/etc/farm.pem");
        settings.dataFolder = m_folder.filePath(QStringLiteral("other"));
        settings.language = QStringLiteral("pt_BR");
        settings.positionSource = QStringLiteral("gpsd:cab");
        settings.pin = QStringLiteral("0815");
        settings.isDataExchangeAllowed = false;
        settings.isNight = true;
        settings.isFullScreen = true;
        QCOMPARE(WriteStoredSettings(hostimpl::TConfigStore::Process(), settings).Text(),
                 QString());

        // As the next run reads them.
        hostimpl::TConfigStore store;
        QCOMPARE(store.Open(m_folder.filePath(QStringLiteral("console.json"))), QString());
        const TStoredSettings read = console::ReadStoredSettings(store);
        QCOMPARE(read.service, settings.service);
        QCOMPARE(read.authorityFile, settings.authorityFile);
        QCOMPARE(read.dataFolder, settings.dataFolder);
        QCOMPARE(read.language, settings.language);
        QCOMPARE(read.positionSource, settings.positionSource);
        QCOMPARE(read.pin, settings.pin);
        QCOMPARE(read.isDataExchangeAllowed, false);
        QCOMPARE(read.isNight, true);
        QCOMPARE(read.isFullScreen, true);
    }

    void storesEachPathOfADataFolder()
    {
        hostimpl::TConfigStore store;
        TStoredSettings settings;
        for (const QString& name : {QStringLiteral("a \"b\" \\x41 c;d,e=f #%41"),
                                    QStringLiteral(u"H\u00f6he \u9ad8"), QStringLiteral("plain")}) {
            settings.dataFolder = m_folder.filePath(name);
            QCOMPARE(WriteStoredSettings(store, settings).Text(), QString());
            QCOMPARE(console::StoredDataFolder(QString()), settings.dataFolder);
        }
    }

    // As older consoles have written it.
    void readsAnEscapedPathOfADataFolder()
    {
        QFile file(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
                   QStringLiteral("/kelvo-console.ini"));
        QVERIFY(QDir().mkpath(QFileInfo(file).path()) && file.open(QIODevice::WriteOnly));
        file.write("[General]\ndataFolder=/H\\xf6he/\\x9ad8\n");
        file.close();
        QCOMPARE(console::StoredDataFolder(QString()), QStringLiteral(u"/H\u00f6he/\u9ad8"));
    }

    void noticesAChangeOfEachChoice()
    {
        for (const auto choice :
             {&TStoredSettings::isDataExchangeAllowed, &TStoredSettings::isNight,
              &TStoredSettings::isFullScreen, &TStoredSettings::isTextLarge}) {
            TStoredSettings settings;
            settings.*choice = !(settings.*choice);
            QVERIFY(!(settings == TStoredSettings()));
        }
    }

    void hasDefaults()
    {
        hostimpl::TConfigStore store;
        const TStoredSettings settings = console::ReadStoredSettings(store);
        QVERIFY(settings.service.isEmpty() && settings.positionSource.isEmpty());
        QVERIFY(settings.isDataExchangeAllowed && !settings.isNight && !settings.isFullScreen);
        QCOMPARE(console::StoredDataFolder(QStringLiteral("/usual")), QStringLiteral("/usual"));
    }

    void checksValues_data()
    {
        QTest::addColumn<QString>("service");
        QTest::addColumn<QString>("authorityFile");
        QTest::addColumn<QString>("positionSource");
        QTest::addColumn<QString>("dataFolder");
        QTest::addColumn<QString>("problem"); // a part of the error text; empty: no error
        const QString folder = m_folder.path();
        const QString none;
        QTest::newRow("defaults") << none << none << none << folder << none;
        QTest::newRow("service") << QStringLiteral("farm.example:1") << none << none << folder
                                 << none;
        QTest::newRow("a new folder")
            << none << none << none << folder + QStringLiteral("/a/b") << none;
        QTest::newRow("URL") << QStringLiteral("https://farm") << none << none << folder
                             << QStringLiteral("service");
        QTest::newRow("no file") << none << QStringLiteral("/nowhere/ca.pem") << none << folder
                                 << QStringLiteral("/nowhere/ca.pem");
        QTest::newRow("a folder for a file")
            << none << folder << none << folder << QStringLiteral("certificate");
        QTest::newRow("source") << none << none << QStringLiteral("stars") << folder
                                << QStringLiteral("Position source: \"stars\"");
        QTest::newRow("no folder") << none << none << none << none << QStringLiteral("folder");
        QTest::newRow("relative") << none << none << none << QStringLiteral("data")
                                  << QStringLiteral("folder");
        QTest::newRow("below a device")
            << none << none << none << QStringLiteral("/dev/null/x") << QStringLiteral("folder");
    }

    void checksValues()
    {
        QFETCH(QString, problem);
        TStoredSettings settings;
        QFETCH(QString, service);
        QFETCH(QString, authorityFile);
        QFETCH(QString, positionSource);
        QFETCH(QString, dataFolder);
        settings.service = service;
        settings.authorityFile = authorityFile;
        settings.positionSource = positionSource;
        settings.dataFolder = dataFolder;
        QString errorText;
        QCOMPARE(console::CheckStoredSettings(settings, errorText), problem.isEmpty());
        QVERIFY2(errorText.contains(problem), qUtf8Printable(errorText));
    }

    void findsTheRowOfALanguage()
    {
        QCOMPARE(console::LanguageRow(QStringLiteral("pl")), 5);
        QCOMPARE(console::LanguageRow(QString()), 0);
        QCOMPARE(console::LanguageRow(QStringLiteral("tlh")), 0);
        QVERIFY(console::IsLanguageInstalled(QString()));
        QVERIFY(!console::IsLanguageInstalled(QStringLiteral("tlh")));
    }
};

KELVO_TEST_MAIN(TStoredSettingsTest)
#include "tst_StoredSettings.moc"
