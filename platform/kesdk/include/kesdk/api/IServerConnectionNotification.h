// Listener for changes of the session with the service.
#pragma once

#include "kesdk/api/ISubscriable.h"

#include <cstdint>

namespace kesdk::api {

enum EConnectionState : std::int32_t {
    eNotLoggedIn = 0,     // no session: logged out, revoked or expired
    eLoginInProgress = 1, // a login was started
    eReconnecting = 2,    // there is a session, but no link to the service
    eLoginSuccessful = 3, // the snapshot is loaded and the event stream is open
    eLoginFailed = 4,     // the reason is among GetLastLoginErrors()
};

struct ConnectionState
{
    std::int32_t connectionId = 0; // counts the logins of this connection
    std::int32_t state = eNotLoggedIn;
};

// Called on the SDK's notification thread, never from inside a caller's own call.
class IServerConnectionNotification : public virtual ISubscriable
{
public:
    IServerConnectionNotification() { m_events.insert(eServerConnectionEvents); }

    virtual void onServerConnectionChange(const ConnectionState& state) = 0;
};

} // namespace kesdk::api
