// One connection to the service's event stream.
#pragma once

#include "client/ApiClient.h"

#include <functional>
#include <string>

namespace kesdk::impl {

enum class EStreamEnd {
    eClosed,       // by the service or the link: resume behind the last event
    eSessionEnded, // the session is no more
    eTooOld,       // the cursor cannot be resumed: fetch the account anew
    eAborted,
    eRefused, // the service answered with another error
};

struct StreamOutcome
{
    EStreamEnd end = EStreamEnd::eClosed;
    Failure failure;
};

// Reads the stream until it ends, on the calling thread, which also runs the handlers.
class EventStream
{
public:
    struct Handlers
    {
        std::function<void()> onOpen; // the stream stands
        std::function<void(const AccountEvent&)> onEvent;
    };

    explicit EventStream(ApiClient& api) : m_api(api) {}

    // Two of the service's comments may be missed before a silent stream counts as dead.
    StreamOutcome Run(const ApiCall& call, const std::string& cursor, const Handlers& handlers);

private:
    ApiClient& m_api;
};

} // namespace kesdk::impl
