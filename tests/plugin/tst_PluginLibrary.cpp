// The real libkelvo.so, loaded as the host loads it, with a service that nobody can reach.
#include "support/GuiTestMain.h"
#include "tests/plugin/TLoadedPlugin.h"

#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>

class TKelvoDll;

class tst_PluginLibrary : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void resolvesEveryExportedName_data();
    void resolvesEveryExportedName();
    void startsAndEndsAHundredTimes();
    void aLoginFailsWhenTheServiceCannotBeReached();
    void finaliseDuringALogin();

private:
    TLoadedPlugin m_plugin;
};

namespace {

constexpr int ROUNDS = 100;

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
    for (const char* name : {"Initialise", "Finalise", "GetKelvoInterface", "dll", "KelvoInterface",
                             "UserLevels", "Features"})
        QTest::newRow(name) << QByteArray(name);
}

void tst_PluginLibrary::resolvesEveryExportedName()
{
    QFETCH(QByteArray, name);
    QVERIFY(m_plugin.Resolve(name.constData()));
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
