// One connection to the service's event stream.
#pragma once

#include "client/ApiClient.h"

#include <functional>
#include <string>

namespace kesdk::impl {

enum class EStreamEnd {
    eOther,        // resume after the last event
    eSessionEnded, // the service ended the session
    eTooOld,       // the cursor is unknown: fetch a new snapshot
};

struct StreamOutcome
{
    EStreamEnd end = EStreamEnd::eOther;
    Failure failure;
};

// Reads the stream until it ends, on the calling thread, which also runs the handlers.
class EventStream
{
public:
    struct Handlers
    {
        std::function<void()> onOpen;  // the stream is open
        std::function<void()> onBytes; // events or a heartbeat have arrived
        std::function<void(const AccountEvent&)> onEvent;
    };

    explicit EventStream(ApiClient& api) : m_api(api) {}

    // With the policy of ECall::eEvents a silent stream counts as dead before the second of two
    // missing comments is due.
    StreamOutcome Run(const ApiCall& call, const std::string& cursor, const Handlers& handlers);

private:
    ApiClient& m_api;
};

} // namespace kesdk::impl
