#include "tests/fakes/FakeScript.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace fakes {

FakeErrors OneError(const std::wstring& text1, const std::wstring& text2, const std::wstring& text3)
{
    kesdk::api::CErrorMsg error;
    error.text1 = text1;
    error.text2 = text2;
    error.text3 = text3;
    return FakeErrors{error};
}

void FakeScript::FailNth(FakeOperation operation, unsigned nth, const FakeErrors& errors)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_plans[operation].nth[nth] = errors;
}

void FakeScript::FailAlways(FakeOperation operation, const FakeErrors& errors)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_plans[operation].always = errors;
}

void FakeScript::StopFailing(FakeOperation operation)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_plans[operation].always.reset();
    m_plans[operation].nth.clear();
}

void FakeScript::FailNextLoginOutcome(const FakeErrors& errors)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_loginOutcomeFailure = errors;
}

void FakeScript::HoldLoginOutcome(std::shared_ptr<FakeGate> gate)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_loginGate = std::move(gate);
}

void FakeScript::OnCall(FakeOperation operation, Hook hook)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_plans[operation].hook = std::move(hook);
}

void FakeScript::HoldAt(FakeOperation operation, std::shared_ptr<FakeGate> gate)
{
    OnCall(operation, [gate = std::move(gate)](const FakeCall&, const FakeAbortCheck& abort) {
        gate->Pass(abort);
    });
}

std::vector<FakeCall> FakeScript::Calls() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_calls;
}

std::vector<FakeCall> FakeScript::Calls(FakeOperation operation) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<FakeCall> found;
    std::copy_if(m_calls.begin(), m_calls.end(), std::back_inserter(found),
                 [operation](const FakeCall& call) { return call.operation == operation; });
    return found;
}

std::size_t FakeScript::Count(FakeOperation operation) const
{
    return Calls(operation).size();
}

void FakeScript::ClearCalls()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_calls.clear();
}

std::optional<FakeErrors> FakeScript::Begin(FakeCall call, const FakeAbortCheck& shouldAbort)
{
    call.thread = std::this_thread::get_id();
    Hook hook;
    std::optional<FakeErrors> failure;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_calls.push_back(call);
        hook = m_plans[call.operation].hook;
        failure = TakeFailure(call.operation);
    }
    if (hook)
        hook(call, shouldAbort);
    return failure;
}

std::optional<FakeErrors> FakeScript::TakeLoginOutcomeFailure()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::exchange(m_loginOutcomeFailure, std::nullopt);
}

std::shared_ptr<FakeGate> FakeScript::LoginGate() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_loginGate;
}

std::optional<FakeErrors> FakeScript::TakeFailure(FakeOperation operation)
{
    TPlan& plan = m_plans[operation];
    std::optional<FakeErrors> failure = plan.always;
    std::map<unsigned, FakeErrors> later;
    for (const auto& [callsToCome, errors] : plan.nth) {
        if (callsToCome <= 1)
            failure = errors;
        else
            later.emplace(callsToCome - 1, errors);
    }
    plan.nth = std::move(later);
    return failure;
}

} // namespace fakes
