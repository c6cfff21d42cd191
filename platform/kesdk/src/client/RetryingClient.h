// Repeats what failed for a reason that may pass.
#pragma once

#include "base/Clock.h"
#include "http/HttpTransport.h"

#include <chrono>
#include <optional>

namespace kesdk::impl {

struct RetryPolicy
{
    int attempts = 3;
    std::chrono::milliseconds firstDelay{500};
    std::chrono::milliseconds maxDelay{30'000};
    // For all attempts and the pauses between them; 0 = no limit.
    std::chrono::milliseconds total{0};
};

// Whether the same request may do better later: the link dropped, or the service was busy.
bool MayPass(const Failure& failure);

// The request never left the console.
bool WasNeverSent(const Failure& failure);

// The seconds of a Retry-After field, if the response has one: a number, or a date that is compared
// with the response's own. At most a day.
std::optional<std::chrono::seconds> RetryAfter(const HttpResponse& response);

// Sends requests again, after growing and jittered pauses, as far as that can do no harm.
//
// Thread safety: one thread at a time; Wake from any.
// Retry: GET, HEAD, PUT and DELETE, what carries an Idempotency-Key and what is marked repeatable.
// Bodies that stream are the caller's to repeat: it alone knows where to go on.
class RetryingClient
{
public:
    // All are the caller's and outlive the client.
    RetryingClient(HttpTransport& transport, Clock& clock, Sleeper& sleeper, Jitter& jitter);

    HttpOutcome Perform(const HttpRequest& request, const RetryPolicy& policy,
                        const AbortCheck& abort);

    // The pause before attempt number `attempt` (the first repeat is number 1), or what the service
    // asked for, up to five minutes. False: aborted.
    bool Pause(const RetryPolicy& policy, int attempt,
               const std::optional<std::chrono::seconds>& retryAfter, const AbortCheck& abort);

    Clock::Time Now() const { return m_clock.Now(); }

    // Has whatever blocks ask its abort check at once.
    void Wake();

private:
    std::chrono::milliseconds Delay(const RetryPolicy& policy, int attempt,
                                    const std::optional<std::chrono::seconds>& retryAfter);

    HttpTransport& m_transport;
    Clock& m_clock;
    Sleeper& m_sleeper;
    Jitter& m_jitter;
};

} // namespace kesdk::impl
