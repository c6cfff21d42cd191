// What a worker asks of the SDK and what it reports, in one order.
#pragma once

#include "tests/worker/SdkCalls.h"
#include "tests/worker/TWorkerFixture.h"

#include <iterator>
#include <utility>

// Give it to the fixture between its construction and its start; make it before the fixture, for
// it must live longer. Everything must happen on the test's own thread.
class TSessionTrace
{
public:
    void Follow(TWorkerFixture& f)
    {
        for (std::size_t i = 0; i < std::size(SDK_OPERATION_NAMES); ++i) {
            const auto operation = static_cast<fakes::FakeOperation>(i);
            f.Script().OnCall(operation, [this, operation](const auto&, const auto&) {
                m_events << QStringLiteral("> ") + NameOf(operation);
            });
        }
        f.workerLog.OnEach([this](const fakes::LoggedSignal& signal) { m_events << signal.name; });
    }

    // Signals by name, calls with an arrow before it.
    QStringList Take() { return std::exchange(m_events, {}); }

private:
    QStringList m_events;
};
