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

// Reads the stream until it ends, on the calling thread, which also runs the handlers. With the
// policy of ECall::eEvents a silent stream counts as dead before the second of two missing comments
// is due.
// Errors: eSessionEnded: the service ended the session. eCursorTooOld: fetch a new snapshot. After
// any other failure, and after none, the stream resumes after the last event.
Failure ReadEventStream(ApiClient& api, const ApiCall& call, const std::string& cursor,
                        const EventHandlers& handlers);

} // namespace kesdk::impl
