// One sequence of requests to the service: attempts, pauses, and the choice of the server.
#pragma once

#include "tools/herd/Link.h"
#include "tools/herd/Random.h"

#include <boost/asio/steady_timer.hpp>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

namespace herd {

/** A user and the user's session. The lines of a console share it. */
struct Identity
{
    std::string user;
    std::string password;
    std::string token;            // empty: not logged in
    bool isLoggingIn = false;     // one of the lines sends the password now
    Clock::time_point loginDue{}; // of the next login; zero: when a line needs the session
    EKind loginKind = EKind::Login;
    int loginAttempts = std::numeric_limits<int>::max(); // then the herd ends
};

/** The action is given up; the herd goes on. */
class GivenUp : public std::exception
{
public:
    const char* what() const noexcept override { return "The service refuses a request."; }
};

/** The herd cannot go on. what() is a sentence for the operator. */
class Fatal : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/** The pause before the next attempt: doubled from half a second to 30 s, with jitter. */
class Backoff
{
public:
    /** `answer` may ask for a longer pause by `Retry-After`, up to five minutes. */
    milliseconds next(Random& random, const Answer& answer);
    void reset() { full_ = first; }

private:
    static constexpr milliseconds first{500};
    milliseconds full_ = first;
};

/**
 * Each failed attempt is counted under its kind. If no answer came, the next attempt goes to the
 * next server. One request at a time.
 */
class Line
{
public:
    enum class EUse : std::uint8_t { Requests, Events };

    /** `number` chooses the first server. */
    Line(Network& network, Identity& identity, std::size_t number, EUse use = EUse::Requests);

    /**
     * One attempt, after a login if there is no session. Waits while the link is lost on purpose.
     * The status is 0 if no answer came. A 401 ends the session: the next attempt logs in again.
     * Throws GivenUp after stop().
     */
    Async<Answer> attempt(EKind kind, const Request& request);

    /**
     * Repeats the request until it succeeds. The latency runs from `begin`. Throws GivenUp after
     * the last attempt, after stop(), and if the service refuses for a reason that does not pass.
     */
    Async<Answer> call(EKind kind, const Request& request, Clock::time_point begin,
                       int attempts = 1000);

    /** Logs in if there is no session. Throws GivenUp after stop(). */
    Async<void> requireSession();

    /** Returns earlier after wake(), and at once after stop(). */
    Async<void> sleepUntil(Clock::time_point time);
    void wake() { timer_.cancel(); }
    Async<void> pause(Backoff& backoff, const Answer& answer);

    /** The link is lost until then: a running attempt fails. A time in the past brings it back. */
    void loseLink(Clock::time_point until);
    /** The time since `begin` without the time for which the link was lost on purpose. */
    Clock::duration onlineSince(Clock::time_point begin) const;

    /** Ends the connection. A running attempt fails and counts as no failure. */
    void reconnect();
    /** As reconnect(), and no further attempt begins. */
    void stop();

    Network& network() { return network_; }

private:
    /** A time for which the link is lost on purpose. */
    struct Loss
    {
        Clock::time_point begin;
        Clock::time_point end;
    };

    Async<void> logIn();
    bool isLost() const;
    Async<Answer> exchange(EKind kind, const Request& request, const std::string& token);

    Network& network_;
    Identity& identity_;
    Link link_;
    asio::steady_timer timer_;
    Random random_;
    std::size_t server_;
    std::vector<Loss> losses_; // in the order of time, without overlaps
    std::string lastFailure_;
    bool isOwnCut_ = false; // this program has ended the connection of the attempt
    bool isStopped_ = false;
};

/** Whether a repeat may succeed: no answer came, the session has ended, or the service is busy. */
bool mayPass(const Answer& answer);

} // namespace herd
