// The state of the session. All changes of it happen here.
#pragma once

#include "base/Failure.h"
#include "base/LinkBoard.h"
#include "connection/NotificationDispatcher.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace kesdk::impl {

// The current session.
struct SessionKey
{
    std::int32_t id = 0; // counts the logins; 0 = none
    std::string token;
};

//            Begin                Established       LinkLost, LinkRestored
//   none ───────────► inFlight ───────────────► live ◄──────────────► linkLost
//    ▲  ▲──(Failed)──────┘   ▲──(Begin)───────────┴──────────┐───────────┘ │
//    └──(End)────────────────┴──(End, Lost)──────────────────┴─────────────┘
//
// Each transition posts its connection state under the same lock, so that the listeners see the
// states in order. A call with the id of an earlier login changes nothing.
//
// Thread safety: safe.
class SessionState
{
public:
    // Both are the caller's and outlive the state.
    SessionState(NotificationDispatcher& dispatcher, LinkBoard& board)
        : m_dispatcher(dispatcher), m_board(board)
    {}

    struct NewLogin
    {
        std::int32_t id = 0;
        std::string replacedToken; // the token of the session before; empty = none
    };
    // Empty if a login is in progress already.
    std::optional<NewLogin> Begin();
    // False if that login was cancelled.
    bool Established(std::int32_t id, const std::string& token);
    void Failed(std::int32_t id);
    // The event stream has ended, or could not be opened. No failure: the service ended it in
    // order.
    void LinkLost(std::int32_t id, const Failure& failure);
    void LinkRestored(std::int32_t id);
    // The event stream has sent something.
    void StreamAlive(std::int32_t id);
    // The service ended the session. Returns whether there was such a session.
    bool Lost(std::int32_t id);

    struct Ended
    {
        bool wasActive = false; // there was a session or a login
        std::string token;      // empty if there was no session yet
    };
    Ended End();

    bool IsCurrent(std::int32_t id) const;
    bool IsLinkLost() const;
    // The current session; id 0 if there is none.
    SessionKey Current() const;
    // Whether the service ended the last session, and no login has begun since.
    bool WasLost() const;

private:
    enum class EPhase { eNone, eInFlight, eLive, eLinkLost };

    bool HasSession() const { return m_phase == EPhase::eLive || m_phase == EPhase::eLinkLost; }
    void Change(EPhase phase, api::EConnectionState state, kesdkimpl::ESession session);

    NotificationDispatcher& m_dispatcher;
    LinkBoard& m_board;
    mutable std::mutex m_mutex; // guards everything below
    EPhase m_phase = EPhase::eNone;
    std::int32_t m_id = 0;
    std::string m_token;
    bool m_wasLost = false;
};

} // namespace kesdk::impl
