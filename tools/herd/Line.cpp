#include "tools/herd/Line.h"

#include <boost/asio/redirect_error.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <charconv>
#include <utility>

namespace herd {

namespace {

constexpr milliseconds longestPause{30'000};
constexpr milliseconds longestRetryAfter{300'000};
constexpr milliseconds otherLoginPause{100};
constexpr int passingStatus[] = {0, 401, 429, 502, 503, 504};

} // namespace

bool mayPass(const Answer& answer)
{
    return std::find(std::begin(passingStatus), std::end(passingStatus), answer.status) !=
           std::end(passingStatus);
}

milliseconds Backoff::next(Random& random, const Answer& answer)
{
    int asked = 0;
    const std::string& text = answer.retryAfter;
    std::from_chars(text.data(), text.data() + text.size(), asked);
    const milliseconds wanted =
        std::clamp<milliseconds>(std::chrono::seconds(asked), milliseconds(0), longestRetryAfter);
    const auto full = static_cast<double>(full_.count());
    const milliseconds jittered(
        static_cast<milliseconds::rep>(full * (0.5 + 0.5 * random.fraction())));
    full_ = std::min(2 * full_, longestPause);
    return std::max(wanted, jittered);
}

Line::Line(Network& network, Identity& identity, std::size_t number, EUse use)
    : network_(network),
      identity_(identity),
      link_(network, use == EUse::Requests),
      timer_(network.io),
      random_(Random::mix(number)),
      server_(number % network.servers.size())
{}

Async<Answer> Line::attempt(EKind kind, const Request& request)
{
    while (isLost()) {
        co_await sleepUntil(losses_.back().end);
    }
    co_await requireSession();
    const std::string token = identity_.token;
    const Answer answer = co_await exchange(kind, request, token);
    if (answer.status == 401 && identity_.token == token) {
        identity_.token.clear();
    }
    co_return answer;
}

Async<Answer> Line::call(EKind kind, const Request& request, Clock::time_point begin, int attempts)
{
    Backoff backoff;
    for (int left = attempts; left > 0; --left) {
        Answer answer = co_await attempt(kind, request);
        if (answer.isSuccess()) {
            network_.figures.succeed(kind, onlineSince(begin));
            co_return answer;
        }
        if (!mayPass(answer)) {
            throw GivenUp();
        }
        if (left > 1) {
            co_await pause(backoff, answer);
        }
    }
    throw GivenUp();
}

Async<void> Line::sleepUntil(Clock::time_point time)
{
    if (!isStopped_ && Clock::now() < time) {
        timer_.expires_at(time);
        boost::system::error_code ignored;
        co_await timer_.async_wait(asio::redirect_error(asio::use_awaitable, ignored));
    }
}

Async<void> Line::pause(Backoff& backoff, const Answer& answer)
{
    co_await sleepUntil(Clock::now() + backoff.next(random_, answer));
}

void Line::loseLink(Clock::time_point until)
{
    const Clock::time_point now = Clock::now();
    if (isLost()) {
        losses_.back().end = now;
    }
    if (now < until) {
        losses_.push_back({now, until});
        link_.abort("link lost on purpose");
    } else {
        wake();
    }
}

bool Line::isLost() const
{
    return !losses_.empty() && Clock::now() < losses_.back().end;
}

Clock::duration Line::onlineSince(Clock::time_point begin) const
{
    const Clock::time_point now = Clock::now();
    Clock::duration online = now - begin;
    for (const Loss& loss : losses_) {
        online -= std::max(std::min(loss.end, now) - std::max(loss.begin, begin),
                           Clock::duration::zero());
    }
    return online;
}

void Line::reconnect()
{
    isOwnCut_ = true;
    link_.abort("connection ended by the herd");
    wake();
}

void Line::stop()
{
    isStopped_ = true;
    loseLink({});
    reconnect();
}

Async<void> Line::requireSession()
{
    for (;;) {
        if (isStopped_) {
            throw GivenUp();
        }
        if (!identity_.token.empty()) {
            co_return;
        }
        if (identity_.isLoggingIn) {
            co_await sleepUntil(Clock::now() + otherLoginPause);
            continue;
        }
        identity_.isLoggingIn = true;
        try {
            co_await logIn();
        } catch (...) {
            identity_.isLoggingIn = false;
            throw;
        }
        identity_.isLoggingIn = false;
    }
}

Async<void> Line::logIn()
{
    Request request = requestTo("POST", apiPath + "/sessions");
    request.json =
        nlohmann::json{{"user", identity_.user}, {"password", identity_.password}}.dump();
    const Clock::time_point due = std::exchange(identity_.loginDue, {});
    const Clock::time_point begin = due != Clock::time_point{} ? due : Clock::now();
    Backoff backoff;
    for (int left = identity_.loginAttempts; left > 0 && !isStopped_; --left) {
        const Answer answer = co_await exchange(identity_.loginKind, request, {});
        if (answer.status == 201) {
            identity_.token = nlohmann::json::parse(answer.body).at("token").get<std::string>();
            network_.figures.succeed(identity_.loginKind, onlineSince(begin));
            co_return;
        }
        if (answer.status == 401 || answer.status == 403) {
            throw Fatal("The service refuses the name or the password of " + identity_.user + ".");
        }
        co_await pause(backoff, answer);
    }
    if (isStopped_) {
        throw GivenUp();
    }
    throw Fatal("No server takes the login of " + identity_.user + ": " + lastFailure_ + ".");
}

/** One request with its failure counted. */
Async<Answer> Line::exchange(EKind kind, const Request& request, const std::string& token)
{
    Answer answer;
    isOwnCut_ = false;
    try {
        answer = co_await link_.exchange(network_.servers[server_], request, token);
        if (!answer.isSuccess()) {
            lastFailure_ = "HTTP " + std::to_string(answer.status);
            network_.figures.fail(kind, lastFailure_);
        }
    } catch (const LinkError& error) {
        lastFailure_ = error.what();
        if (!isOwnCut_) {
            network_.figures.fail(kind, lastFailure_);
        }
        if (lastFailure_.starts_with(certificateFailure)) {
            throw Fatal(network_.servers[server_].address + ": " + lastFailure_ + ".");
        }
        server_ = (server_ + 1) % network_.servers.size();
    }
    co_return answer;
}

} // namespace herd
