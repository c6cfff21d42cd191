// The interface to the network.
#pragma once

#include "base/Clock.h"
#include "http/HttpMessage.h"

namespace kesdk::impl {

// Performs one request at a time and keeps its connection for the next one.
//
// Thread safety: Perform on one thread at a time, Wake from any.
// Errors: in HttpOutcome::failure. Throws only std::bad_alloc.
class HttpTransport
{
public:
    virtual ~HttpTransport() = default;

    // Blocks until the answer is complete or the request failed. Calls the abort check at least
    // four times a second.
    virtual HttpOutcome Perform(const HttpRequest& request, const AbortCheck& abort) = 0;

    // A running Perform calls its abort check at once. If none runs, the next Perform does.
    virtual void Wake() = 0;
};

} // namespace kesdk::impl
