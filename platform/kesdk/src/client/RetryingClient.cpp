// Repeats what failed for a reason that may pass.
#include "client/RetryingClient.h"

#include "http/HttpDate.h"

#include <algorithm>
#include <charconv>

namespace kesdk::impl {

namespace {

using std::chrono::milliseconds;

constexpr EErrorCode kPassing[] = {
    EErrorCode::eUnknownHost,    EErrorCode::eRefused, EErrorCode::eUnreachable,
    EErrorCode::eConnectTimeout, EErrorCode::eTimeout, EErrorCode::eDropped,
    EErrorCode::eServiceBusy,
};

// What nobody means, or nobody can wait for.
constexpr std::chrono::seconds kLongestRetryAfter = std::chrono::hours(24);
constexpr milliseconds kLongestPause = std::chrono::minutes(5);

constexpr int kPassingStatus[] = {429, 502, 503, 504};

// Said by something before the service, which may have done it all the same.
constexpr int kAnswerLostStatus[] = {502, 504};

constexpr EErrorCode kNeverSent[] = {
    EErrorCode::eUnknownHost,
    EErrorCode::eRefused,
    EErrorCode::eUnreachable,
    EErrorCode::eConnectTimeout,
};

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
    if (request.isRepeatable || Holds(kIdempotentMethods, std::string_view(request.method)))
        return true;
    return std::any_of(request.headers.begin(), request.headers.end(),
                       [](const HttpHeader& header) { return header.name == "Idempotency-Key"; });
}

bool IsWorthRepeating(const HttpOutcome& outcome)
{
    return outcome.failure.IsSet() ? MayPass(outcome.failure)
                                   : Holds(kPassingStatus, outcome.response.status);
}

// Whether this try may have reached the service and no answer of its came back.
bool MayHaveRun(const HttpOutcome& outcome)
{
    return outcome.failure.IsSet() ? !WasNeverSent(outcome.failure)
                                   : Holds(kAnswerLostStatus, outcome.response.status);
}

milliseconds LimitTo(milliseconds limit, milliseconds rest)
{
    return limit.count() == 0 ? rest : std::min(limit, rest);
}

} // namespace

bool MayPass(const Failure& failure)
{
    return Holds(kPassing, failure.code);
}

bool WasNeverSent(const Failure& failure)
{
    return Holds(kNeverSent, failure.code);
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
        // By the clock of whoever says so: the console's may be wrong.
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

RetryingClient::RetryingClient(HttpTransport& transport, Clock& clock, Sleeper& sleeper,
                               Jitter& jitter)
    : m_transport(transport), m_clock(clock), m_sleeper(sleeper), m_jitter(jitter)
{}

HttpOutcome RetryingClient::Perform(const HttpRequest& request, const RetryPolicy& policy,
                                    const AbortCheck& abort)
{
    const Clock::Time begin = m_clock.Now();
    const auto rest = [&] {
        return policy.total - std::chrono::duration_cast<milliseconds>(m_clock.Now() - begin);
    };
    HttpRequest limited = request;
    bool mayHaveRun = false;
    for (int attempt = 1;; ++attempt) {
        if (policy.total.count() > 0) {
            const milliseconds left = std::max(rest(), milliseconds(1));
            limited.limits.total = LimitTo(request.limits.total, left);
            limited.limits.connect = std::min(request.limits.connect, left);
        }
        HttpOutcome outcome = m_transport.Perform(limited, abort);
        mayHaveRun = mayHaveRun || outcome.mayHaveRunBefore;
        outcome.mayHaveRunBefore = mayHaveRun;
        if (attempt >= policy.attempts || !IsRepeatable(request) || !IsWorthRepeating(outcome))
            return outcome;
        mayHaveRun = mayHaveRun || MayHaveRun(outcome);
        const milliseconds delay = Delay(policy, attempt, RetryAfter(outcome.response));
        if (policy.total.count() > 0 && delay >= rest())
            return outcome;
        if (!m_sleeper.Sleep(delay, abort)) {
            outcome.failure = Failure(EErrorCode::eAborted);
            return outcome;
        }
    }
}

bool RetryingClient::Pause(const RetryPolicy& policy, int attempt,
                           const std::optional<std::chrono::seconds>& retryAfter,
                           const AbortCheck& abort)
{
    return m_sleeper.Sleep(Delay(policy, attempt, retryAfter), abort);
}

// Doubles with each attempt up to the policy's most; a half of it is left to chance.
milliseconds RetryingClient::Delay(const RetryPolicy& policy, int attempt,
                                   const std::optional<std::chrono::seconds>& retryAfter)
{
    milliseconds full = policy.firstDelay;
    for (int i = 1; i < attempt && full < policy.maxDelay; ++i)
        full *= 2;
    full = std::min(full, policy.maxDelay);
    const milliseconds jittered(static_cast<milliseconds::rep>(static_cast<double>(full.count()) *
                                                               (0.5 + 0.5 * m_jitter.Next())));
    const milliseconds wanted = retryAfter.value_or(std::chrono::seconds(0));
    return std::max(std::min(wanted, kLongestPause), jittered);
}

void RetryingClient::Wake()
{
    m_transport.Wake();
    m_sleeper.Wake();
}

} // namespace kesdk::impl
