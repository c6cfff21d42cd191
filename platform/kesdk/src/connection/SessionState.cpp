#include "connection/SessionState.h"

#include <utility>

namespace kesdk::impl {

using kesdkimpl::ESession;

std::optional<SessionState::NewLogin> SessionState::Begin()
{
    const std::lock_guard lock(m_mutex);
    if (m_phase == EPhase::eInFlight)
        return std::nullopt;
    NewLogin login;
    login.replacedToken = std::exchange(m_token, {});
    login.id = ++m_id;
    m_wasLost = false;
    Change(EPhase::eInFlight, api::eLoginInProgress, ESession::eConnecting);
    return login;
}

bool SessionState::Established(std::int32_t id, const std::string& token)
{
    const std::lock_guard lock(m_mutex);
    if (id != m_id || m_phase != EPhase::eInFlight)
        return false;
    m_token = token;
    Change(EPhase::eLive, api::eLoginSuccessful, ESession::eLoggedIn);
    return true;
}

void SessionState::Failed(std::int32_t id)
{
    const std::lock_guard lock(m_mutex);
    if (id == m_id && m_phase == EPhase::eInFlight)
        Change(EPhase::eNone, api::eLoginFailed, ESession::eLoginFailed);
}

void SessionState::LinkLost(std::int32_t id, const Failure& failure)
{
    const std::lock_guard lock(m_mutex);
    if (id != m_id || !HasSession())
        return;
    // The board took the answer as a contact, so it needs the refusal. It has the link's failures.
    if (failure.httpStatus != 0)
        m_board.NoteRefusedStream();
    if (m_phase == EPhase::eLive)
        Change(EPhase::eLinkLost, api::eReconnecting, ESession::eLoggedIn);
}

void SessionState::LinkRestored(std::int32_t id)
{
    const std::lock_guard lock(m_mutex);
    if (id == m_id && m_phase == EPhase::eLinkLost)
        Change(EPhase::eLive, api::eLoginSuccessful, ESession::eLoggedIn);
}

void SessionState::StreamAlive(std::int32_t id)
{
    const std::lock_guard lock(m_mutex);
    if (id == m_id && m_phase == EPhase::eLive)
        m_board.NoteStream();
}

bool SessionState::Lost(std::int32_t id)
{
    const std::lock_guard lock(m_mutex);
    if (id != m_id || !HasSession())
        return false;
    m_token.clear();
    m_wasLost = true;
    Change(EPhase::eNone, api::eNotLoggedIn, ESession::eSessionEnded);
    return true;
}

SessionState::Ended SessionState::End()
{
    const std::lock_guard lock(m_mutex);
    if (m_phase == EPhase::eNone)
        return {};
    Ended ended{true, std::exchange(m_token, {})};
    Change(EPhase::eNone, api::eNotLoggedIn, ESession::eLoggedOut);
    return ended;
}

bool SessionState::IsCurrent(std::int32_t id) const
{
    const std::lock_guard lock(m_mutex);
    return id == m_id && m_phase != EPhase::eNone;
}

bool SessionState::IsLinkLost() const
{
    const std::lock_guard lock(m_mutex);
    return m_phase == EPhase::eLinkLost;
}

SessionKey SessionState::Current() const
{
    const std::lock_guard lock(m_mutex);
    return HasSession() ? SessionKey{m_id, m_token} : SessionKey();
}

bool SessionState::WasLost() const
{
    const std::lock_guard lock(m_mutex);
    return m_wasLost;
}

void SessionState::Change(EPhase phase, api::EConnectionState state, ESession session)
{
    m_phase = phase;
    m_board.SetSession(session);
    if (phase == EPhase::eLive)
        m_board.NoteStream();
    m_dispatcher.Post(api::ConnectionState{m_id, state});
}

} // namespace kesdk::impl
