// The real libkelvo.so, initialised and finalised many times in one process with a running service.
// test_rounds.py starts the service and runs this program.
#include "support/GuiTestMain.h"
#include "tests/e2e/TRounds.h"

#include <QtCore/QMetaMethod>
#include <QtTest/QSignalSpy>
#include <QtTest/QtTest>

#include <functional>
#include <memory>
#include <vector>

class tst_PluginRounds : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void findsALeakInEachRound();
    void findsALeakInFewOfManyRounds();
    void leaksNothingWithASession();
    void leaksNothingWithFinaliseDuringTheLogin();

private:
    TRounds m_rounds;
};

namespace {

constexpr int ROUNDS_TO_FIND_A_LEAK = 100;
constexpr int LEAKED_BYTES = 200;
constexpr int MANY_ROUNDS = 1000;
constexpr int SMALL_LEAKED_BYTES = 100;
// The login's request, its success and the six lists.
constexpr int SIGNALS_OF_A_LOGIN = 8;

// Counts all signals of the hub.
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

// A record in which the heap is `moreBytes(round)` larger after each round.
TRoundRecord RecordOf(int rounds, const std::function<int(int)>& moreBytes)
{
    TRoundRecord record(rounds);
    TProcessUsage usage = TProcessUsage::Now();
    const qint64 heapBytes = usage.heapBytes;
    for (int round = 0; round < rounds; ++round) {
        usage.heapBytes = heapBytes + moreBytes(round);
        record.Record(usage);
    }
    return record;
}

} // namespace

void tst_PluginRounds::initTestCase()
{
    const QString problem = m_rounds.Load();
    QVERIFY2(problem.isEmpty(), qPrintable(problem));
}

// Shows that the other tests can find a leak.
void tst_PluginRounds::findsALeakInEachRound()
{
    std::vector<std::unique_ptr<char[]>> leaked(ROUNDS_TO_FIND_A_LEAK);
    const QString problem = m_rounds.Run(ROUNDS_TO_FIND_A_LEAK, [&leaked](int round) {
        leaked[static_cast<std::size_t>(round)] = std::make_unique<char[]>(LEAKED_BYTES);
        return true;
    });
    QVERIFY2(problem.isEmpty(), qPrintable(problem));
    qInfo("%s", qPrintable(m_rounds.Record().ToText()));
    QVERIFY(!m_rounds.Growth().isEmpty());
    QVERIFY(m_rounds.Record().HeapBytesARound() >=
            LEAKED_BYTES - TRounds::ALLOWED_BYTES / ROUNDS_TO_FIND_A_LEAK);
}

// The leak happens in one of eight rounds. The figures are made up, because 1,000 rounds take long.
void tst_PluginRounds::findsALeakInFewOfManyRounds()
{
    const QString leak = TRounds::GrowthOf(
        RecordOf(MANY_ROUNDS,
                 [](int round) { return round / SIGNALS_OF_A_LOGIN * SMALL_LEAKED_BYTES; }),
        0);
    QVERIFY(!leak.isEmpty());
    const QString lateCache = TRounds::GrowthOf(
        RecordOf(MANY_ROUNDS, [](int round) { return round < MANY_ROUNDS / 2 ? 0 : 50'000; }), 0);
    QVERIFY2(lateCache.isEmpty(), qPrintable(lateCache));
    const QString noise =
        TRounds::GrowthOf(RecordOf(MANY_ROUNDS, [](int round) { return round * 7919 % 4096; }), 0);
    QVERIFY2(noise.isEmpty(), qPrintable(noise));
}

void tst_PluginRounds::leaksNothingWithASession()
{
    const QString problem =
        m_rounds.Run(TRounds::Count(), [this](int) { return m_rounds.LogIn(); });
    QVERIFY2(problem.isEmpty(), qPrintable(problem));
    qInfo("%s", qPrintable(m_rounds.Record().ToText()));
    const QString growth = m_rounds.Growth();
    QVERIFY2(growth.isEmpty(), qPrintable(growth));
}

// In each round Finalise comes one signal of the hub later, from the request to the last list.
void tst_PluginRounds::leaksNothingWithFinaliseDuringTheLogin()
{
    const QString problem = m_rounds.Run(TRounds::Count(), [this](int round) {
        TKelvoInterface* const hub = m_rounds.Plugin().Hub();
        const TSignalCounter counter(*hub);
        hub->OnLoginToKelvoRequested();
        const int signalsToWaitFor = round % SIGNALS_OF_A_LOGIN + 1;
        return QTest::qWaitFor([&] { return counter.Count() >= signalsToWaitFor; },
                               TLoadedPlugin::HANG_GUARD_MS);
    });
    QVERIFY2(problem.isEmpty(), qPrintable(problem));
    qInfo("%s", qPrintable(m_rounds.Record().ToText()));
    const QString growth = m_rounds.Growth();
    QVERIFY2(growth.isEmpty(), qPrintable(growth));
}

KELVO_GUI_TEST_MAIN(tst_PluginRounds)
#include "tst_PluginRounds.moc"
