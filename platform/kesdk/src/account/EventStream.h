// One connection to the service's event stream.
#pragma once

#include "client/ApiClient.h"

#include <functional>
#include <string>

namespace kesdk::impl {

struct EventHandlers
{
    std::function<void()> onOpen;  // the stream is open
    std::function<void()> onBytes; // events or a heartbeat have arrived
    std::function<void(const AccountEvent&)> onEvent;
};

// Reads the stream until it ends. The calling thread also runs the handlers. With the policy of
// ECall::eEvents, a stream counts as dead if one heartbeat is missing and the next heartbeat is
// nearly due.
// Errors: eSessionEnded: the service ended the session. eCursorTooOld: fetch a new snapshot. After
// any other failure, and after an orderly end, the next stream begins after the last event.
Failure ReadEventStream(ApiClient& api, const ApiCall& call, const std::string& cursor,
                        const EventHandlers& handlers);

} // namespace kesdk::impl
