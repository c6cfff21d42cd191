#include "tests/plugin/TLoadedPlugin.h"

#include <QtTest/QTest>

TLoadedPlugin::~TLoadedPlugin()
{
    if (m_finalise)
        m_finalise();
}

bool TLoadedPlugin::Load(const QString& file)
{
    m_library.setFileName(file.isEmpty() ? QStringLiteral(KELVO_LIBRARY_FILE) : file);
    m_library.setLoadHints(QLibrary::ResolveAllSymbolsHint);
    if (!m_library.load())
        return false;
    m_initialise = reinterpret_cast<TInitialise>(m_library.resolve("Initialise"));
    m_finalise = reinterpret_cast<TFinalise>(m_library.resolve("Finalise"));
    m_getInterface = reinterpret_cast<TGetInterface>(m_library.resolve("GetKelvoInterface"));
    return m_initialise && m_finalise && m_getInterface;
}

void TLoadedPlugin::Initialise()
{
    m_watch.Run(
        [this] { m_initialise(nullptr, &gps, QStringLiteral("Host 1.0"), &levels, &features); });
}

bool TLoadedPlugin::InitialiseAndWait()
{
    Initialise();
    return WaitForWorker();
}

bool TLoadedPlugin::WaitForWorker()
{
    return QTest::qWaitFor([this] { return m_watch.AreAllInitialised(); }, HANG_GUARD_MS);
}

void TLoadedPlugin::ConfigureOperator(const QString& name, const QString& password)
{
    hostimpl::TConfigStore::Process().SetItem(24289, name, false);
    hostimpl::TConfigStore::Process().SetItem(24290, password, false);
}
