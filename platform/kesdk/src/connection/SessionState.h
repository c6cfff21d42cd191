// Whether a session stands, and the one place where that changes.
#pragma once

#include "connection/NotificationDispatcher.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace kesdk::impl {

// A session, for as long as it is the present one.
struct SessionKey
{
    std::int32_t id = 0; // counts the logins; 0 = none
    std::string token;
};

//            Begin                Established              LinkLost
//   none ───────────► inFlight ───────────────► live ◄──────────────► linkLost
//    ▲  ▲──(Failed)──────┘   ▲──(Begin)───────────┴──────────┐───────────┘ │
//    └──(End)────────────────┴──(End, Lost)──────────────────┴─────────────┘
//
// Each transition posts its connection state under the same lock, so that the listeners see them in
// their order. What comes from a login that is no longer the present one changes nothing.
//
// Thread safety: safe.
class SessionState
{
public:
    explicit SessionState(NotificationDispatcher& dispatcher) : m_dispatcher(dispatcher) {}

    struct Begun
    {
        std::int32_t id = 0;
        std::string replacedToken; // of the session that stood until now; empty = none
    };
    // Empty when a login is in flight already.
    std::optional<Begun> Begin();
    // False when that login was cancelled.
    bool Established(std::int32_t id, const std::string& token);
    void Failed(std::int32_t id);
    void LinkLost(std::int32_t id);
    void LinkRestored(std::int32_t id);
    // The service ended it.
    void Lost(std::int32_t id);

    struct Ended
    {
        bool wasAnything = false; // a session or a login in flight
        std::string token;        // empty when there was no session yet
    };
    Ended End();

    bool IsCurrent(std::int32_t id) const;
    bool IsLinkLost() const;
    // The present session; id 0 when there is none.
    SessionKey Current() const;

private:
    enum class EPhase { eNone, eInFlight, eLive, eLinkLost };

    bool IsStanding() const { return m_phase == EPhase::eLive || m_phase == EPhase::eLinkLost; }
    void Change(EPhase phase, api::EConnectionState state);
    std::string TakeToken();

    NotificationDispatcher& m_dispatcher;
    mutable std::mutex m_mutex; // guards everything below
    EPhase m_phase = EPhase::eNone;
    std::int32_t m_id = 0;
    std::string m_token;
};

} // namespace kesdk::impl
