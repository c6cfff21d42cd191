#include "client/RetryingClient.h"

#include "client/Problems.h"
#include "http/HttpDate.h"

#include <algorithm>
#include <charconv>

namespace kesdk::impl {

namespace {

using std::chrono::milliseconds;

constexpr std::chrono::seconds kLongestRetryAfter = std::chrono::hours(24);

// A proxy before the service sends these. The service may have carried the request out.
constexpr int kAnswerLostStatus[] = {502, 504};

constexpr std::string_view kIdempotentMethods[] = {"GET", "HEAD", "PUT", "DELETE"};

template <class Table, class Value>
bool Holds(const Table& table, const Value& value)
{
    return std::find(std::begin(table), std::end(table), value) != std::end(table);
}

bool IsRepeatable(const HttpRequest& request)
{
    if (request.source || request.sink)
        return false;
    return request.isRepeatable || Holds(kIdempotentMethods, std::string_view(request.method));
}

// Whether this attempt may have reached the service without an answer of the service itself.
bool MayHaveRun(const HttpOutcome& outcome)
{
    return outcome.failure.IsSet() ? !outcome.failure.WasNeverSent()
                                   : Holds(kAnswerLostStatus, outcome.response.status);
}

} // namespace

bool MayPass(const Failure& failure)
{
    return failure.WasNeverSent() ||
           failure.Is(EErrorCode::eTimeout, EErrorCode::eDropped, EErrorCode::eServiceBusy);
}

std::optional<std::chrono::seconds> RetryAfter(const HttpResponse& response)
{
    const std::string* text = response.Header("Retry-After");
    if (!text || text->empty())
        return std::nullopt;
    std::int64_t seconds = 0;
    const char* end = text->data() + text->size();
    const auto parsed = std::from_chars(text->data(), end, seconds);
    if (parsed.ptr == end && parsed.ec == std::errc::result_out_of_range) {
        seconds = kLongestRetryAfter.count();
    } else if (parsed.ptr != end || parsed.ec != std::errc()) {
        // Compared with the answer's own date: the console's clock may be wrong.
        const std::string* date = response.Header("Date");
        const auto now = date ? ParseHttpDate(*date) : std::nullopt;
        const auto then = ParseHttpDate(*text);
        if (!now || !then)
            return std::nullopt;
        seconds = std::max<std::int64_t>(*then - *now, 0);
    }
    if (seconds < 0)
        return std::nullopt;
    return std::min(std::chrono::seconds(seconds), kLongestRetryAfter);
}

HttpOutcome RetryingClient::Perform(HttpRequest request, const CallPolicy& policy,
                                    const AbortCheck& abort,
                                    const std::optional<Clock::Time>& lastStart)
{
    const Clock::Time start = m_timing.Now();
    const auto rest = [&] {
        return policy.total - std::chrono::duration_cast<milliseconds>(m_timing.Now() - start);
    };
    bool mayHaveRun = false;
    for (int attempt = 1;; ++attempt) {
        request.limits = policy.limits;
        if (policy.total.count() > 0) {
            const milliseconds left = std::max(rest(), milliseconds(1));
            const milliseconds limit = policy.limits.total;
            request.limits.total = limit.count() == 0 ? left : std::min(limit, left);
            request.limits.connect = std::min(policy.limits.connect, left);
        }
        HttpOutcome outcome = m_transport.Perform(request, abort);
        mayHaveRun = mayHaveRun || outcome.mayHaveRunBefore;
        outcome.mayHaveRunBefore = mayHaveRun;
        const Failure failure = FailureOf(outcome);
        if (attempt >= policy.attempts || !IsRepeatable(request) || !MayPass(failure))
            return outcome;
        mayHaveRun = mayHaveRun || MayHaveRun(outcome);
        const milliseconds delay = m_timing.Delay(policy.backoff, attempt, failure.retryAfter);
        const bool isTooLate = lastStart && m_timing.Now() + delay >= *lastStart;
        if (isTooLate || (policy.total.count() > 0 && delay >= rest()))
            return outcome;
        if (!m_timing.Sleep(delay, abort)) {
            outcome.failure = Failure(EErrorCode::eAborted);
            return outcome;
        }
    }
}

void RetryingClient::Wake()
{
    m_transport.Wake();
    m_timing.Wake();
}

} // namespace kesdk::impl
