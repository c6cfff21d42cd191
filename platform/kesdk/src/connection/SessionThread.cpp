#include "connection/SessionThread.h"

#include <pthread.h>

#include <openssl/crypto.h>

#include <chrono>
#include <utility>

namespace kesdk::impl {

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

void Forget(std::wstring& secret)
{
    OPENSSL_cleanse(secret.data(), secret.size() * sizeof(wchar_t));
    secret.clear();
}

} // namespace

SessionThread::SessionThread(Dependencies dependencies)
    : m_dependencies(std::move(dependencies)), m_thread([this] { Run(); })
{}

SessionThread::~SessionThread()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    m_hasNext.notify_all();
    Wake();
    m_thread.join();
}

void SessionThread::Start(Login login)
{
    {
        const std::lock_guard lock(m_mutex);
        // The replaced login never began, so this login ends the session before that login too.
        if (m_next && login.replacedToken.empty())
            login.replacedToken = std::move(m_next->replacedToken);
        m_next = std::move(login);
    }
    m_hasNext.notify_all();
    Wake();
}

void SessionThread::Wake()
{
    m_dependencies.api.Wake();
}

void SessionThread::ReconnectNow()
{
    m_mustReconnectNow = true;
    Wake();
}

void SessionThread::Run()
{
    ::pthread_setname_np(::pthread_self(), "kesdk-session");
    for (;;) {
        std::optional<Login> login;
        {
            std::unique_lock lock(m_mutex);
            m_hasNext.wait(lock, [this] { return m_isStopping || m_next; });
            login.swap(m_next);
        }
        if (m_isStopping) {
            EndOnService(login ? login->replacedToken : std::string());
            return;
        }
        RunLogin(std::move(*login));
    }
}

void SessionThread::RunLogin(Login login)
{
    EndOnService(login.replacedToken);
    Progress progress;
    progress.id = login.id;
    Failure failure = LogIn(login, progress);
    progress.accepted = m_dependencies.timing.Now();
    if (!failure.IsSet())
        failure = FetchAccount(progress);
    if (!failure.IsSet())
        failure = Follow(progress);
    if (progress.isEstablished) {
        // Lost() has no effect if the caller ended the session. At the end of the connection no
        // session counts as lost.
        if (!m_isStopping)
            m_dependencies.state.Lost(progress.id);
        else if (m_dependencies.state.IsCurrent(progress.id))
            EndOnService(progress.token);
        return;
    }
    EndOnService(progress.token);
    if (HasEnded(progress.id))
        return;
    m_dependencies.onLoginFailed(failure);
    m_dependencies.state.Failed(progress.id);
}

Failure SessionThread::LogIn(Login& login, Progress& progress)
{
    ApiCall call = CallFor(progress);
    call.policy = PolicyOf(ECall::eLogin);
    Result<LoginRecord> answer = m_dependencies.api.LogIn(call, login.user, login.password);
    Forget(login.password);
    progress.token = std::move(answer.value.token);
    return answer.failure;
}

// After a new snapshot, the listeners get each difference to the earlier snapshot.
Failure SessionThread::FetchAccount(const Progress& progress)
{
    ApiCall call = CallFor(progress);
    call.policy = PolicyOf(progress.isEstablished ? ECall::eAccount : ECall::eFirstAccount);
    if (!progress.isEstablished)
        call.lastStart = progress.accepted + kLoginLimit;
    Result<AccountRecord> account = m_dependencies.api.GetAccount(call);
    if (!account || HasEnded(progress.id))
        return account.failure;
    const ResourceChanges changes = m_dependencies.snapshot.Replace(std::move(account.value));
    if (progress.isEstablished)
        m_dependencies.dispatcher.Post(changes);
    return {};
}

// Returns when the session has ended, or the login has failed.
Failure SessionThread::Follow(Progress& progress)
{
    for (;;) {
        Failure failure = ReadStream(progress);
        if (HasEnded(progress.id) || failure.Is(EErrorCode::eSessionEnded))
            return failure;
        const bool hasLasted = m_dependencies.timing.Now() - progress.begun >= kLastingStream;
        progress.attempts = hasLasted ? 1 : progress.attempts + 1;
        failure = PrepareNextStream(progress, std::move(failure));
        if (failure.IsSet())
            return failure;
    }
}

Failure SessionThread::ReadStream(Progress& progress)
{
    EventHandlers handlers;
    handlers.onOpen = [&] {
        if (progress.isEstablished)
            m_dependencies.state.LinkRestored(progress.id);
        else
            progress.isEstablished = m_dependencies.state.Established(progress.id, progress.token);
    };
    handlers.onEvent = [&](const AccountEvent& event) {
        if (!HasEnded(progress.id))
            m_dependencies.dispatcher.Post(m_dependencies.snapshot.ApplyEvent(event));
    };
    handlers.onBytes = [&] { m_dependencies.state.StreamAlive(progress.id); };
    ApiCall call = CallFor(progress);
    call.policy = PolicyOf(ECall::eEvents);
    if (progress.isEstablished)
        call.policy.limits.connect = SearchConnectLimit(progress.attempts);
    progress.begun = m_dependencies.timing.Now();
    return ReadEventStream(m_dependencies.api, call, m_dependencies.snapshot.Cursor(), handlers);
}

// Set if no stream follows.
Failure SessionThread::PrepareNextStream(Progress& progress, Failure failure)
{
    const bool isTooOld = failure.Is(EErrorCode::eCursorTooOld);
    if (isTooOld) {
        failure = FetchAccount(progress);
        if (failure.Is(EErrorCode::eSessionEnded))
            return failure;
        if (!failure.IsSet() && progress.attempts <= 1)
            return {};
    }
    m_mustReconnectNow = false; // before listeners can see that the link is lost
    if (!isTooOld || failure.IsSet())
        m_dependencies.state.LinkLost(progress.id, failure);
    Timing& timing = m_dependencies.timing;
    const CallPolicy policy = PolicyOf(ECall::eEvents);
    const Clock::Time now = timing.Now();
    const Clock::Time next = now + failure.retryAfter.value_or(seconds(0));
    const bool isTheLast =
        progress.attempts >= policy.attempts || next >= progress.accepted + kLoginLimit;
    if (!progress.isEstablished && isTheLast)
        return failure.IsSet() ? failure : Failure(EErrorCode::eDropped, "the stream ends at once");
    // While no connection comes about, the pause counts from the start of the last attempt.
    const bool isSearching = progress.isEstablished && failure.WasNeverSent();
    const milliseconds pause =
        isSearching ? timing.Delay(kSearchBackoff, 1, {}) -
                          std::chrono::duration_cast<milliseconds>(now - progress.begun)
                    : timing.Delay(policy.backoff, progress.attempts, failure.retryAfter);
    const AbortCheck endsPause = [this, id = progress.id] {
        return HasEnded(id) || m_mustReconnectNow;
    };
    if (pause.count() > 0)
        timing.Sleep(pause, endsPause);
    return HasEnded(progress.id) ? Failure(EErrorCode::eAborted) : Failure();
}

// Ends an unused session, so that it does not stay until it expires. One attempt of 2 s: the end of
// the connection waits for it.
void SessionThread::EndOnService(const std::string& token)
{
    if (token.empty())
        return;
    ApiCall call;
    call.token = token;
    call.policy = PolicyOf(ECall::eLogout);
    static_cast<void>(m_dependencies.api.LogOut(call));
}

bool SessionThread::HasEnded(std::int32_t id) const
{
    return m_isStopping || !m_dependencies.state.IsCurrent(id);
}

ApiCall SessionThread::CallFor(const Progress& progress) const
{
    ApiCall call;
    call.token = progress.token;
    call.abort = [this, id = progress.id] { return HasEnded(id); };
    return call;
}

} // namespace kesdk::impl
