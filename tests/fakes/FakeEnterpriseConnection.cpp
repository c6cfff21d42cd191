// Session, errors, notifications and queries of the fake connection. Transfers and deletions are in
// FakeTransfers.cpp.
#include "tests/fakes/FakeEnterpriseConnection.h"

#include <utility>

namespace fakes {

using kesdk::api::ConnectionState;
using kesdk::api::EnterpriseResourceWithContent;

FakeEnterpriseConnection::FakeEnterpriseConnection(std::shared_ptr<FakeFarm> farm,
                                                   std::shared_ptr<FakeScript> script)
    : m_farm(std::move(farm)), m_script(std::move(script))
{
    m_observerId =
        m_farm->Observe([this](const FakeFarm::Change& change) { OnFarmChange(change); });
}

FakeEnterpriseConnection::~FakeEnterpriseConnection()
{
    FakeCall call;
    call.operation = FakeOperation::eDestroy;
    m_script->Begin(call, {});
    m_farm->StopObserving(m_observerId);
}

bool FakeEnterpriseConnection::Login(const std::wstring& userName, const std::wstring& password,
                                     const void* reserved, std::uint32_t reservedFlags)
{
    FakeCall call;
    call.operation = FakeOperation::eLogin;
    call.text = userName;
    call.secret = password;
    call.reserved = reserved;
    call.reservedFlags = reservedFlags;
    const std::optional<FakeErrors> failure = m_script->Begin(call, {});
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_errors.clear();
    if (m_loginInFlight)
        return true;
    m_isSessionLost = false;
    m_loginErrors.clear();
    if (failure) {
        m_loginErrors = *failure;
        return false;
    }
    m_loginInFlight = true;
    ++m_loginCount;
    m_notifier.Post([this, userName, password] { FinishLogin(userName, password); });
    return true;
}

// Runs on the notification thread.
void FakeEnterpriseConnection::FinishLogin(const std::wstring& userName,
                                           const std::wstring& password)
{
    m_notifier.CallState(StateNow(kesdk::api::eLoginInProgress));
    if (const std::shared_ptr<FakeGate> gate = m_script->LoginGate())
        gate->Pass([this] { return m_notifier.IsStopping(); });
    const std::optional<FakeErrors> failure = m_script->TakeLoginOutcomeFailure();
    const std::optional<std::int64_t> userId = m_farm->CheckCredentials(userName, password);
    const bool succeeds = userId && !failure;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_loginInFlight = false;
        m_userId = succeeds ? *userId : 0;
        if (succeeds) {
            m_snapshotUserId = m_userId;
        } else {
            m_loginErrors = failure ? *failure
                                    : OneError(L"Login failed.", L"Check user name and password.",
                                               L"invalid-credentials");
        }
    }
    m_notifier.CallState(
        StateNow(succeeds ? kesdk::api::eLoginSuccessful : kesdk::api::eLoginFailed));
}

bool FakeEnterpriseConnection::Logout()
{
    FakeCall call;
    call.operation = FakeOperation::eLogout;
    const std::optional<FakeErrors> failure = m_script->Begin(call, {});
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_errors.clear();
        if (failure) {
            m_errors = *failure;
            return false;
        }
        if (m_userId == 0) {
            m_errors = OneError(L"Not logged in.");
            return false;
        }
        m_userId = m_snapshotUserId = 0;
    }
    PostState(kesdk::api::eNotLoggedIn);
    return true;
}

bool FakeEnterpriseConnection::IsLoggedIn()
{
    FakeCall call;
    call.operation = FakeOperation::eIsLoggedIn;
    if (m_script->Begin(call, {}))
        return false;
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_userId != 0;
}

xal_list<kesdk::api::CErrorMsg> FakeEnterpriseConnection::GetLastErrors()
{
    FakeCall call;
    call.operation = FakeOperation::eGetLastErrors;
    m_script->Begin(call, {});
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_errors;
}

xal_list<kesdk::api::CErrorMsg> FakeEnterpriseConnection::GetLastLoginErrors()
{
    FakeCall call;
    call.operation = FakeOperation::eGetLastLoginErrors;
    m_script->Begin(call, {});
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_loginErrors;
}

void FakeEnterpriseConnection::Subscribe(kesdk::api::ISubscriable* listener)
{
    FakeCall call;
    call.operation = FakeOperation::eSubscribe;
    call.listener = listener;
    m_script->Begin(call, {});
    m_notifier.Subscribe(listener);
}

void FakeEnterpriseConnection::Unsubscribe(kesdk::api::ISubscriable* listener)
{
    FakeCall call;
    call.operation = FakeOperation::eUnsubscribe;
    call.listener = listener;
    m_script->Begin(call, {});
    m_notifier.Unsubscribe(listener);
}

std::vector<kesdk::api::EnterpriseProject> FakeEnterpriseConnection::GetProjects()
{
    FakeCall call;
    call.operation = FakeOperation::eGetProjects;
    if (!BeginsInSession(call))
        return {};
    return m_farm->Projects();
}

std::list<EnterpriseResourceWithContent>
FakeEnterpriseConnection::GetProjectResources(std::int64_t projectId)
{
    FakeCall call;
    call.operation = FakeOperation::eGetProjectResources;
    call.id = projectId;
    if (!BeginsInSession(call))
        return {};
    return m_farm->Inboxes(projectId, UserId());
}

EnterpriseResourceWithContent
FakeEnterpriseConnection::GetResourceWithContent(std::int64_t resourceId)
{
    FakeCall call;
    call.operation = FakeOperation::eGetResourceWithContent;
    call.id = resourceId;
    const std::int64_t viewerId = SnapshotUserId();
    if (!Begins(call) || (viewerId == 0 && !HasSession()))
        return {};
    const EnterpriseResourceWithContent found = m_farm->Find(resourceId, viewerId);
    if (found.kind == kesdk::api::eUnknownResource && found.name.empty() && HasSession())
        Fails(OneError(L"File no longer exists."));
    return found;
}

kesdk::api::CurrentUser FakeEnterpriseConnection::GetCurrentUser()
{
    FakeCall call;
    call.operation = FakeOperation::eGetCurrentUser;
    if (!BeginsInSession(call))
        return {};
    const std::int64_t userId = UserId();
    return {userId, m_farm->UserName(userId)};
}

void FakeEnterpriseConnection::SetAbortCheck(std::function<bool()> shouldAbort)
{
    FakeCall call;
    call.operation = FakeOperation::eSetAbortCheck;
    m_script->Begin(call, {});
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_abortCheck = std::move(shouldAbort);
}

void FakeEnterpriseConnection::StartLoggedIn(std::int64_t userId)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_userId = m_snapshotUserId = userId;
}

void FakeEnterpriseConnection::LoseSession()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_userId == 0)
            return;
        m_userId = 0;
        m_isSessionLost = true;
    }
    PostState(kesdk::api::eNotLoggedIn);
}

void FakeEnterpriseConnection::PostState(std::int32_t state)
{
    m_notifier.PostState(StateNow(state));
}

void FakeEnterpriseConnection::PostChange(const ResourceChange& change)
{
    m_notifier.PostChange(change);
}

// Records the call and clears the errors. Returns false if the script fails the call.
bool FakeEnterpriseConnection::Begins(FakeCall call)
{
    FakeAbortCheck shouldAbort;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_errors.clear();
        shouldAbort = m_abortCheck;
    }
    const std::optional<FakeErrors> failure = m_script->Begin(std::move(call), shouldAbort);
    return failure ? Fails(*failure) : true;
}

bool FakeEnterpriseConnection::BeginsInSession(FakeCall call)
{
    return Begins(std::move(call)) && HasSession();
}

// Without a session, leaves its error.
bool FakeEnterpriseConnection::HasSession()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_userId == 0)
        m_errors = m_isSessionLost ? OneError(L"Your session has ended.", L"Log in again.")
                                   : OneError(L"Not logged in.", L"Log in and try again.");
    return m_userId != 0;
}

std::int64_t FakeEnterpriseConnection::UserId() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_userId;
}

std::int64_t FakeEnterpriseConnection::SnapshotUserId() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_snapshotUserId;
}

bool FakeEnterpriseConnection::Fails(const FakeErrors& errors)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_errors = errors;
    return false;
}

// Runs on the thread that changed the farm.
void FakeEnterpriseConnection::OnFarmChange(const FakeFarm::Change& change)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const bool concerns = change.ownerUserId == 0 || change.ownerUserId == m_userId;
        if (m_userId == 0 || !concerns)
            return;
    }
    m_notifier.PostChange(change.change);
}

ConnectionState FakeEnterpriseConnection::StateNow(std::int32_t state) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    ConnectionState now;
    now.connectionId = m_loginCount;
    now.state = state;
    return now;
}

} // namespace fakes
