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
    const int threads = TProcessUsage::Now().threads;
    for (int number = 0; number < count; ++number) {
        const bool isDone = m_plugin.InitialiseAndWait() && round(number);
        m_plugin.Finalise();
        if (!isDone || m_plugin.Hub() != nullptr)
            return QStringLiteral("round %1").arg(number);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        m_plugin.windowManager.calls.clear(); // otherwise the list grows in each round
        // A thread and its memory exist for a moment after the join.
        const auto areThreadsGone = [threads] { return TProcessUsage::Now().threads <= threads; };
        if (!QTest::qWaitFor(areThreadsGone, TLoadedPlugin::HANG_GUARD_MS))
            return QStringLiteral("round %1 left a thread").arg(number);
        m_record.Record(TProcessUsage::Now());
    }
    return {};
}

QString TRounds::Growth(double allowedBytesARound) const
{
    return GrowthOf(m_record, allowedBytesARound);
}

QString TRounds::GrowthOf(const TRoundRecord& record, double allowedBytesARound)
{
    const double allowed = ALLOWED_BYTES / record.Count() + allowedBytesARound;
    const bool hasGrown =
        record.Last().files > record.AfterWarmUp().files || record.HeapBytesARound() > allowed;
    return hasGrown ? record.ToText() : QString();
}
