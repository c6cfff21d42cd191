// The SDK calls and the signals of a worker, in one order.
#pragma once

#include "tests/worker/SdkCalls.h"
#include "tests/worker/TWorkerFixture.h"

#include <iterator>
#include <utility>

// Create it before the fixture, because it has to live longer. Give it to the fixture before the
// fixture's start. Everything has to run on the test's thread.
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

    // Signals by their name, calls by an arrow and their name.
    QStringList Take() { return std::exchange(m_events, {}); }

private:
    QStringList m_events;
};
