// What a test wants of the fake SDK's calls, and what it wants to know of them.
#pragma once

#include "tests/fakes/FakeGate.h"
#include "tests/fakes/FakeOperation.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace fakes {

using FakeErrors = xal_list<kesdk::api::CErrorMsg>;
using FakeAbortCheck = std::function<bool()>;

// One record with the three texts.
FakeErrors OneError(const std::wstring& text1, const std::wstring& text2 = {},
                    const std::wstring& text3 = {});

// Records every call in order, fails those it is told to, and runs a test's code inside them.
//
// Thread safety: from any thread. Outlives the connections that use it.
class FakeScript
{
public:
    // Runs inside the call, on its thread, before the operation does anything. May block; then it
    // should give up when the abort check says so.
    using Hook = std::function<void(const FakeCall&, const FakeAbortCheck&)>;

    // The nth call from now (1 = the next) fails with these records, perhaps with none.
    void FailNth(FakeOperation operation, unsigned nth, const FakeErrors& errors);
    // Every call from now fails.
    void FailAlways(FakeOperation operation, const FakeErrors& errors);
    void StopFailing(FakeOperation operation);
    // The next login is started, but ends in state 4 with these records.
    void FailNextLoginOutcome(const FakeErrors& errors);
    // A login stays in state 1 until the gate opens.
    void HoldLoginOutcome(std::shared_ptr<FakeGate> gate);

    // An empty hook takes the earlier one away.
    void OnCall(FakeOperation operation, Hook hook);
    // Every call of the operation waits at the gate.
    void HoldAt(FakeOperation operation, std::shared_ptr<FakeGate> gate);

    std::vector<FakeCall> Calls() const;
    std::vector<FakeCall> Calls(FakeOperation operation) const;
    std::size_t Count(FakeOperation operation) const;
    void ClearCalls();

    // For the connection: records the call, runs its hook, and says with which records it fails.
    std::optional<FakeErrors> Begin(FakeCall call, const FakeAbortCheck& shouldAbort);
    std::optional<FakeErrors> TakeLoginOutcomeFailure();
    std::shared_ptr<FakeGate> LoginGate() const;

private:
    struct TPlan
    {
        std::map<unsigned, FakeErrors> nth; // by the number of calls still to come
        std::optional<FakeErrors> always;
        Hook hook;
    };

    std::optional<FakeErrors> TakeFailure(FakeOperation operation);

    mutable std::mutex m_mutex; // guards everything below
    std::vector<FakeCall> m_calls;
    std::map<FakeOperation, TPlan> m_plans;
    std::optional<FakeErrors> m_loginOutcomeFailure;
    std::shared_ptr<FakeGate> m_loginGate;
};

} // namespace fakes
