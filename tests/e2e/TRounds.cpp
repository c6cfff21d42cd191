// Many rounds of the plug-in's life in one process, and whether they leave anything behind.
#include "tests/e2e/TRounds.h"

#include <QtTest/QtTest>

#include <algorithm>

namespace {

constexpr int USUAL_ROUNDS = 100;
constexpr int FEWEST_ROUNDS = 50;

} // namespace

int TRounds::Count()
{
    bool isNumber = false;
    const int count = qEnvironmentVariableIntValue("KELVO_ROUND_COUNT", &isNumber);
    return isNumber ? std::max(count, FEWEST_ROUNDS) : USUAL_ROUNDS;
}

QString TRounds::Load()
{
    if (!qEnvironmentVariableIsSet("KELVO_API_HOST"))
        return QStringLiteral("to be run by test_rounds.py");
    m_plugin.ConfigureOperator(qEnvironmentVariable("KELVO_USER"),
                               qEnvironmentVariable("KELVO_PASSWORD"));
    return m_plugin.Load() ? QString() : m_plugin.ErrorString();
}

bool TRounds::LogIn()
{
    TKelvoInterface* const hub = m_plugin.Hub();
    hub->OnLoginToKelvoRequested();
    return QTest::qWaitFor([hub] { return hub->IsKelvoLoggedIn(); }, TLoadedPlugin::HANG_GUARD_MS);
}

QString TRounds::Run(int count, const std::function<bool(int)>& round)
{
    m_record = TRoundRecord(count);
    const int threads = TBelongings::Now().threads;
    for (int number = 0; number < count; ++number) {
        const bool isDone = m_plugin.InitialiseAndWait() && round(number);
        m_plugin.Finalise();
        if (!isDone || m_plugin.Hub() != nullptr)
            return QStringLiteral("round %1").arg(number);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        m_plugin.windowManager.calls.clear(); // a list that would grow
        // A thread is there a moment longer than its join lasts, and with it some memory.
        const auto areThreadsGone = [threads] { return TBelongings::Now().threads <= threads; };
        if (!QTest::qWaitFor(areThreadsGone, TLoadedPlugin::HANG_GUARD_MS))
            return QStringLiteral("round %1 left a thread").arg(number);
        m_record.Note(TBelongings::Now());
    }
    return {};
}

QString TRounds::Growth(double forgivenBytesARound) const
{
    return GrowthOf(m_record, forgivenBytesARound);
}

QString TRounds::GrowthOf(const TRoundRecord& record, double forgivenBytesARound)
{
    const double forgiven = FORGIVEN_BYTES / record.Count() + forgivenBytesARound;
    const bool hasGrown =
        record.Last().files > record.Settled().files || record.HeapBytesARound() > forgiven;
    return hasGrown ? record.ToText() : QString();
}
