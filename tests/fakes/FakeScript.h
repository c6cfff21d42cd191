// The call log, planned failures and hooks of the fake SDK.
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

// One error record with the three texts.
FakeErrors OneError(const std::wstring& text1, const std::wstring& text2 = {},
                    const std::wstring& text3 = {});

// Records every call in order. Fails calls and runs a test's code inside them, as the test has
// planned.
//
// Thread safety: safe. It has to outlive the connections that use it.
class FakeScript
{
public:
    // Runs inside the call, on the call's thread, before the operation starts. It may block; then
    // it has to return when the abort check is true.
    using Hook = std::function<void(const FakeCall&, const FakeAbortCheck&)>;

    // The nth call from now (1: the next call) fails with these records. The list may be empty.
    void FailNth(FakeOperation operation, unsigned nth, const FakeErrors& errors);
    // Every call from now on fails.
    void FailAlways(FakeOperation operation, const FakeErrors& errors);
    void StopFailing(FakeOperation operation);
    // The next login starts and ends in state 4 with these records.
    void FailNextLoginOutcome(const FakeErrors& errors);
    // A login stays in state 1 until the gate opens.
    void HoldLoginOutcome(std::shared_ptr<FakeGate> gate);

    // An empty hook removes the earlier hook.
    void OnCall(FakeOperation operation, Hook hook);
    // Every call of the operation waits at the gate.
    void HoldAt(FakeOperation operation, std::shared_ptr<FakeGate> gate);

    std::vector<FakeCall> Calls() const;
    std::vector<FakeCall> Calls(FakeOperation operation) const;
    std::size_t Count(FakeOperation operation) const;
    void ClearCalls();

    // For the connection. Records the call, runs its hook, and returns the records with which it
    // fails.
    std::optional<FakeErrors> Begin(FakeCall call, const FakeAbortCheck& shouldAbort);
    std::optional<FakeErrors> TakeLoginOutcomeFailure();
    std::shared_ptr<FakeGate> LoginGate() const;

private:
    struct TPlan
    {
        std::map<unsigned, FakeErrors> nth; // by the number of calls until then
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
