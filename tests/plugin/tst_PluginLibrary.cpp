// The real libkelvo.so, loaded as the host loads it, with a service that cannot be reached.
#include "support/GuiTestMain.h"
#include "tests/plugin/TLoadedPlugin.h"

#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>

#include <utility>

class TKelvoDll;

class tst_PluginLibrary : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void resolvesEveryExportedName_data();
    void resolvesEveryExportedName();
    void exportsTheNetworkConstants();
    void startsAndEndsAHundredTimes();
    void aLoginFailsWhenTheServiceCannotBeReached();
    void finaliseDuringALogin();

private:
    TLoadedPlugin m_plugin;
};

namespace {

constexpr int ROUNDS = 100;

struct TExportedNumber
{
    const char* name;
    qint32 value;
};
constexpr TExportedNumber EXPORTED_NUMBERS[] = {
    {"CONNECTION_MONITOR_TIMEOUT", 5000},
    {"OBTAIN_NETWORK_ADDRESS_RETRYS", 30},
    {"COMPLETE_NETWORK_CONNECTION_RETRYS", 100},
    {"SCAN_RETRIES", 20},
    {"RECONNECTION_WAIT", 4},
    {"SIGNAL_LEVEL_MINIMUM", -192},
    {"WINDOWS_NETWORK_DEBUG", 2500},
    {"NETWORK_OPERATION_TIMEOUT", 250},
};

} // namespace

void tst_PluginLibrary::initTestCase()
{
    qputenv("KELVO_API_HOST", "127.0.0.1:1"); // read when the library is loaded
    m_plugin.ConfigureOperator(QStringLiteral("olga"), QStringLiteral("secret"));
    QVERIFY2(m_plugin.Load(), qPrintable(m_plugin.ErrorString()));
    QVERIFY(m_plugin.Hub() == nullptr);
    m_plugin.Finalise(); // without Initialise: nothing happens
}

void tst_PluginLibrary::resolvesEveryExportedName_data()
{
    QTest::addColumn<QByteArray>("name");
    for (const char* name :
         {"Initialise", "Finalise", "GetKelvoInterface", "dll", "KelvoInterface", "UserLevels",
          "Features", "LOG_FILE_NAME", "LOG_FILE_EXTENSION", "LOG_FILE_PATH"})
        QTest::newRow(name) << QByteArray(name);
    for (const TExportedNumber& number : EXPORTED_NUMBERS)
        QTest::newRow(number.name) << QByteArray(number.name);
}

void tst_PluginLibrary::resolvesEveryExportedName()
{
    QFETCH(QByteArray, name);
    QVERIFY(m_plugin.Resolve(name.constData()));
}

// Without Initialise: the constants are set when the library is loaded.
void tst_PluginLibrary::exportsTheNetworkConstants()
{
    for (const TExportedNumber& number : EXPORTED_NUMBERS) {
        const auto* value = reinterpret_cast<const qint32*>(m_plugin.Resolve(number.name));
        QVERIFY2(value, number.name);
        QVERIFY2(*value == number.value, number.name);
    }
    const std::pair<const char*, QString> texts[] = {
        {"LOG_FILE_NAME", QStringLiteral("wpa_supplicant")},
        {"LOG_FILE_EXTENSION", QStringLiteral(".log")},
        {"LOG_FILE_PATH", QStringLiteral("/tmp/wpa_supplicant.log")},
    };
    for (const auto& [name, text] : texts) {
        const auto* value = reinterpret_cast<const QString*>(m_plugin.Resolve(name));
        QVERIFY2(value, name);
        QCOMPARE(*value, text);
    }
}

void tst_PluginLibrary::startsAndEndsAHundredTimes()
{
    for (int round = 0; round < ROUNDS; ++round) {
        m_plugin.Initialise();
        QVERIFY(m_plugin.Data<TKelvoDll>("dll") != nullptr);
        QCOMPARE(m_plugin.Data<TKelvoInterface>("KelvoInterface"), m_plugin.Hub());
        QVERIFY(m_plugin.Hub() != nullptr);
        QCOMPARE(m_plugin.Data<const TAppUserLevels>("UserLevels"), &m_plugin.levels);
        QCOMPARE(m_plugin.Data<const TAppFeatures>("Features"), &m_plugin.features);
        m_plugin.Finalise();
        QVERIFY(m_plugin.Data<TKelvoDll>("dll") == nullptr);
        QVERIFY(m_plugin.Hub() == nullptr);
    }
    QCOMPARE(m_plugin.windowManager.calls.size(), ROUNDS);
}

void tst_PluginLibrary::aLoginFailsWhenTheServiceCannotBeReached()
{
    QVERIFY(m_plugin.InitialiseAndWait());
    TKelvoInterface* const hub = m_plugin.Hub();
    {
        QSignalSpy failed(hub, SIGNAL(KelvoLoginFailed(QString)));
        QVERIFY(failed.isValid());
        hub->OnLoginToKelvoRequested();
        QVERIFY(failed.wait(TLoadedPlugin::HANG_GUARD_MS));
        QVERIFY(!failed.first().first().toString().isEmpty());
        QVERIFY(!hub->IsKelvoLoggedIn());
        QVERIFY(!hub->IsKelvoLoginInProgress());
    }
    m_plugin.Finalise();
    QVERIFY(m_plugin.Hub() == nullptr);
}

void tst_PluginLibrary::finaliseDuringALogin()
{
    for (int round = 0; round < 5; ++round) {
        QVERIFY(m_plugin.InitialiseAndWait());
        m_plugin.Hub()->OnLoginToKelvoRequested();
        for (int i = 0; i < round; ++i)
            QCoreApplication::processEvents();
        m_plugin.Finalise();
        QVERIFY(m_plugin.Hub() == nullptr);
    }
}

KELVO_GUI_TEST_MAIN(tst_PluginLibrary)
#include "tst_PluginLibrary.moc"
