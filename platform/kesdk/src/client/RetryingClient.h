// Repeats calls that failed for a reason that may pass.
#pragma once

#include "base/Timing.h"
#include "client/CallPolicy.h"
#include "http/HttpTransport.h"

#include <chrono>
#include <optional>

namespace kesdk::impl {

// Whether the same request may succeed later: the link dropped, or the service was busy.
bool MayPass(const Failure& failure);

// The seconds of a Retry-After field, if the answer has one: a number, or a date that is compared
// with the answer's own. At most a day.
std::optional<std::chrono::seconds> RetryAfter(const HttpResponse& response);

// The one loop of ordinary calls: repeats a request with a jittered backoff, if it is safe that the
// request arrives twice.
//
// Thread safety: one thread at a time; Wake from any.
// Retry: GET, HEAD, PUT and DELETE, and requests that are marked repeatable. A request whose body
// streams is repeated by the caller: only the caller knows the offset.
class RetryingClient
{
public:
    // Both are the caller's and outlive the client.
    RetryingClient(HttpTransport& transport, Timing& timing)
        : m_transport(transport), m_timing(timing)
    {}

    // Blocks. No attempt begins after `lastStart`, if there is one.
    HttpOutcome Perform(HttpRequest request, const CallPolicy& policy, const AbortCheck& abort,
                        const std::optional<Clock::Time>& lastStart = {});

    // A running call or pause calls its abort check at once.
    void Wake();

private:
    HttpTransport& m_transport;
    Timing& m_timing;
};

} // namespace kesdk::impl
