// The real libkelvo.so, loaded as the host loads it, with a service that nobody can reach.
#include "support/GuiTestMain.h"
#include "support/TTempDataFolder.h"
#include "tests/plugin/TWindowManagerRecorder.h"

#include "core/TKelvoInterface.h"
#include "hostimpl/TConfigStore.h"
#include "hostimpl/TFeatures.h"
#include "hostimpl/TFedGPSCoordinator.h"
#include "hostimpl/TUserLevels.h"

#include <QtCore/QLibrary>
#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>

class QWidget;
class TKelvoDll;

class tst_PluginLibrary : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void resolvesEveryExportedName_data();
    void resolvesEveryExportedName();
    void startsAndEndsManyTimes();
    void aLoginFailsWhenTheServiceCannotBeReached();
    void finaliseDuringALogin();

private:
    using TInitialise = void (*)(QWidget*, const TGPSCoordinator*, const QString&,
                                 const TAppUserLevels*, const TAppFeatures*);
    using TFinalise = void (*)();
    using TGetInterface = TKelvoInterface* (*)();

    void Initialise();
    bool InitialiseAndWait();
    template <typename T>
    T* Data(const char* name)
    {
        return *reinterpret_cast<T**>(m_library.resolve(name));
    }

    kelvo::test::TTempDataFolder m_folder;
    TWindowManagerRecorder m_windowManager;
    hostimpl::TFedGPSCoordinator m_gps;
    hostimpl::TUserLevels m_levels{hostimpl::TConfigStore::Process()};
    hostimpl::TFeatures m_features{hostimpl::TConfigStore::Process()};
    QLibrary m_library;
    TInitialise m_initialise = nullptr;
    TFinalise m_finalise = nullptr;
    TGetInterface m_getInterface = nullptr;
};

namespace {

constexpr int HANG_GUARD_MS = 60000;
// Each start reads the system's authorities, which takes a sanitizer's allocator seconds.
#if defined(__SANITIZE_ADDRESS__)
constexpr int ROUNDS = 3;
#else
constexpr int ROUNDS = 20;
#endif

} // namespace

void tst_PluginLibrary::initTestCase()
{
    qputenv("KELVO_API_HOST", "127.0.0.1:1"); // read when the library is loaded
    hostimpl::TConfigStore::Process().SetItem(24289, QStringLiteral("olga"), false);
    hostimpl::TConfigStore::Process().SetItem(24290, QStringLiteral("secret"), false);
    m_library.setFileName(QStringLiteral(KELVO_LIBRARY_FILE));
    m_library.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    QVERIFY2(m_library.load(), qPrintable(m_library.errorString()));
    m_initialise = reinterpret_cast<TInitialise>(m_library.resolve("Initialise"));
    m_finalise = reinterpret_cast<TFinalise>(m_library.resolve("Finalise"));
    m_getInterface = reinterpret_cast<TGetInterface>(m_library.resolve("GetKelvoInterface"));
    QVERIFY(m_initialise);
    QVERIFY(m_finalise);
    QVERIFY(m_getInterface);
    QVERIFY(m_getInterface() == nullptr);
    m_finalise(); // without Initialise: nothing happens
}

void tst_PluginLibrary::Initialise()
{
    m_initialise(nullptr, &m_gps, QStringLiteral("Host 1.0"), &m_levels, &m_features);
}

// A request that comes before the worker listens to the hub is heard by nobody.
bool tst_PluginLibrary::InitialiseAndWait()
{
    const int before = m_gps.ReadyListeners();
    Initialise();
    return QTest::qWaitFor([this, before] { return m_gps.ReadyListeners() > before; },
                           HANG_GUARD_MS);
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
    QVERIFY(m_library.resolve(name.constData()));
}

void tst_PluginLibrary::startsAndEndsManyTimes()
{
    for (int round = 0; round < ROUNDS; ++round) {
        Initialise();
        QVERIFY(Data<TKelvoDll>("dll") != nullptr);
        QCOMPARE(Data<TKelvoInterface>("KelvoInterface"), m_getInterface());
        QVERIFY(m_getInterface() != nullptr);
        QCOMPARE(Data<const TAppUserLevels>("UserLevels"), &m_levels);
        QCOMPARE(Data<const TAppFeatures>("Features"), &m_features);
        m_finalise();
        QVERIFY(Data<TKelvoDll>("dll") == nullptr);
        QVERIFY(m_getInterface() == nullptr);
    }
    QCOMPARE(m_windowManager.calls.size(), ROUNDS);
}

void tst_PluginLibrary::aLoginFailsWhenTheServiceCannotBeReached()
{
    QVERIFY(InitialiseAndWait());
    TKelvoInterface* const hub = m_getInterface();
    {
        QSignalSpy failed(hub, SIGNAL(KelvoLoginFailed(QString)));
        QVERIFY(failed.isValid());
        hub->OnLoginToKelvoRequested();
        QVERIFY(failed.wait(HANG_GUARD_MS));
        QVERIFY(!failed.first().first().toString().isEmpty());
        QVERIFY(!hub->IsKelvoLoggedIn());
        QVERIFY(!hub->IsKelvoLoginInProgress());
    }
    m_finalise();
    QVERIFY(m_getInterface() == nullptr);
}

void tst_PluginLibrary::finaliseDuringALogin()
{
    for (int round = 0; round < qMin(ROUNDS, 5); ++round) {
        QVERIFY(InitialiseAndWait());
        m_getInterface()->OnLoginToKelvoRequested();
        for (int i = 0; i < round; ++i)
            QCoreApplication::processEvents();
        m_finalise();
        QVERIFY(m_getInterface() == nullptr);
    }
}

KELVO_GUI_TEST_MAIN(tst_PluginLibrary)
#include "tst_PluginLibrary.moc"
