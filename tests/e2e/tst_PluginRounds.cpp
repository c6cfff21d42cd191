// The real libkelvo.so, started and ended many times in one process, with a service within reach.
// Run by test_rounds.py, which has the service and tells in the environment where it is:
// KELVO_API_HOST, KESDK_CA_FILE, KELVO_USER, KELVO_PASSWORD.
#include "support/GuiTestMain.h"
#include "tests/plugin/TLoadedPlugin.h"

#include <QtCore/QDir>
#include <QtCore/QMetaMethod>
#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>

#include <memory>
#include <vector>

class tst_PluginRounds : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void aHundredTimesWithASessionBetween();
    void aHundredTimesWithFinaliseDuringTheLogin();

private:
    bool LogIn();

    TLoadedPlugin m_plugin;
};

namespace {

constexpr int ROUNDS = 100;
// By then everything is there that a process makes once.
constexpr int SETTLED_ROUNDS = 10;
// The request, its success and the six lists.
constexpr int SIGNALS_OF_A_LOGIN = 8;

// What the process holds that a start could have left behind.
class TBelongings
{
public:
    // To be asked repeatedly: the system lists a thread a moment longer than its join lasts.
    bool IsWithin(const TBelongings& other) const
    {
        return threads <= other.threads && files <= other.files;
    }

private:
    static int Count(const QString& folder)
    {
        return QDir(folder)
            .entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot)
            .size();
    }

    int threads = Count(QStringLiteral("/proc/self/task"));
    int files = Count(QStringLiteral("/proc/self/fd"));
};

// Counts the hub's signals, whichever they are.
class TSignalCounter
{
public:
    explicit TSignalCounter(const TKelvoInterface& hub)
    {
        const QMetaObject& type = *hub.metaObject();
        for (int i = type.methodOffset(); i < type.methodCount(); ++i) {
            if (type.method(i).methodType() == QMetaMethod::Signal)
                m_spies.push_back(std::make_unique<QSignalSpy>(&hub, type.method(i)));
        }
    }
    int Count() const
    {
        int count = 0;
        for (const auto& spy : m_spies)
            count += spy->count();
        return count;
    }

private:
    std::vector<std::unique_ptr<QSignalSpy>> m_spies;
};

} // namespace

void tst_PluginRounds::initTestCase()
{
    QVERIFY2(qEnvironmentVariableIsSet("KELVO_API_HOST"), "to be run by test_rounds.py");
    m_plugin.ConfigureOperator(qEnvironmentVariable("KELVO_USER"),
                               qEnvironmentVariable("KELVO_PASSWORD"));
    QVERIFY2(m_plugin.Load(), qPrintable(m_plugin.ErrorString()));
}

bool tst_PluginRounds::LogIn()
{
    TKelvoInterface* const hub = m_plugin.Hub();
    hub->OnLoginToKelvoRequested();
    return QTest::qWaitFor([hub] { return hub->IsKelvoLoggedIn(); }, TLoadedPlugin::HANG_GUARD_MS);
}

void tst_PluginRounds::aHundredTimesWithASessionBetween()
{
    TBelongings settled;
    for (int round = 0; round < ROUNDS; ++round) {
        QVERIFY(m_plugin.InitialiseAndWait());
        QVERIFY2(LogIn(), qPrintable(QStringLiteral("round %1").arg(round)));
        m_plugin.Finalise();
        QVERIFY(m_plugin.Hub() == nullptr);
        if (round == SETTLED_ROUNDS)
            settled = TBelongings();
    }
    QTRY_VERIFY(TBelongings().IsWithin(settled));
}

// The end comes one signal of the hub later in each round, from the request to the last list.
void tst_PluginRounds::aHundredTimesWithFinaliseDuringTheLogin()
{
    TBelongings settled;
    for (int round = 0; round < ROUNDS; ++round) {
        QVERIFY(m_plugin.InitialiseAndWait());
        {
            const TSignalCounter counter(*m_plugin.Hub());
            m_plugin.Hub()->OnLoginToKelvoRequested();
            QVERIFY2(
                QTest::qWaitFor([&] { return counter.Count() >= round % SIGNALS_OF_A_LOGIN + 1; },
                                TLoadedPlugin::HANG_GUARD_MS),
                qPrintable(QStringLiteral("round %1").arg(round)));
        }
        m_plugin.Finalise();
        QVERIFY(m_plugin.Hub() == nullptr);
        if (round == SETTLED_ROUNDS)
            settled = TBelongings();
    }
    QTRY_VERIFY(TBelongings().IsWithin(settled));
}

KELVO_GUI_TEST_MAIN(tst_PluginRounds)
#include "tst_PluginRounds.moc"
