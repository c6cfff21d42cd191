// How long each kind of call, and a transfer as a whole, is tried.
#pragma once

#include "base/Timing.h"
#include "http/HttpMessage.h"

#include <chrono>

namespace kesdk::impl {

enum class ECall {
    eLogin,        // a second attempt could count as a second wrong password
    eLogout,       // the end of the console waits for it
    eFirstAccount, // the first snapshot after a login
    eAccount,      // the snapshot after an event stream could not resume
    eEvents,       // SessionThread connects again
    eGetter,       // the operator waits
    eChange,       // the operator waits
    eShortReport,  // a report that must not delay its caller
    ePosition,     // PositionSender repeats it, unless there is a newer position
    eFetches,      // a position may wait for it; PositionSender repeats it after the backoff
    eAskAgain,     // for an upload's result; the end of the console may wait for it
    eDeleteCopy,   // a copy with wrong content
    eContent,      // ResumableTransfer repeats it, because it knows the offset
};

struct CallPolicy
{
    int attempts = 3;
    // Limits all attempts with their pauses. For a position it limits each attempt. 0 = no limit.
    std::chrono::milliseconds total{0};
    Backoff backoff;
    HttpLimits limits; // the limits of each attempt
};

// The event stream has a heartbeat every 60 s. After 118 s without a byte it counts as dead: one
// heartbeat is missing, and the next one is nearly due. A getter's attempt ends after 9 s: if its
// kept connection was dead, a new one has 6 s.
constexpr CallPolicy PolicyOf(ECall call)
{
    using namespace std::chrono_literals;
    constexpr Backoff kSlow{500ms, 30s};
    constexpr Backoff kQuick{500ms, 4s};
    struct Row
    {
        ECall call;
        CallPolicy policy;
    };
    constexpr Row kRows[] = {
        // Attempts, total, backoff; then the limits of one attempt in the order of HttpLimits.
        {ECall::eLogin, {1, 0s, kSlow, {}}},
        {ECall::eLogout, {1, 2s, kSlow, {}}},
        {ECall::eFirstAccount, {3, 0s, kSlow, {10s, 0s, 30s, 30s, 30}}},
        {ECall::eAccount, {3, 0s, kSlow, {}}},
        {ECall::eEvents, {3, 0s, {1s, 30s}, {10s, 0s, 30s, 118s, 1}}},
        {ECall::eGetter, {3, 15s, kQuick, {10s, 9s, 0s, 30s, 30}}},
        {ECall::eChange, {4, 30s, kQuick, {10s, 9s, 0s, 30s, 30}}},
        {ECall::eShortReport, {1, 2s, kSlow, {}}},
        {ECall::ePosition, {2, 20s, kSlow, {}}},
        {ECall::eFetches, {1, 5s, {10s, 5min, 24h}, {}}},
        {ECall::eAskAgain, {1, 2s, kSlow, {}}},
        {ECall::eDeleteCopy, {3, 15s, kSlow, {}}},
        {ECall::eContent, {1, 0s, {500ms, 8s}, {}}},
    };
    for (const Row& row : kRows) {
        if (row.call == call)
            return row.policy;
    }
    return {};
}

// The console reports the files that it has fetched when no transfer has run for this time.
inline constexpr std::chrono::seconds kIdleTime{10};

// Limits a whole transfer. Each of its attempts is an ECall::eContent. Its stall timeout is
// kStallTimeout.
struct TransferPolicy
{
    std::chrono::seconds firstByteTimeout{30}; // for a transfer after another one was given up
    std::chrono::seconds deadLinkMemory{120};  // firstByteTimeout applies for this long
    // Answers in a row without progress. A wrong peer sends them, so waiting does not help.
    int mostUselessAnswers = 6;
};
inline constexpr TransferPolicy kTransfer;

// The operator waits for a login and cannot end it. So no attempt begins later than this after the
// service has accepted the password.
inline constexpr std::chrono::seconds kLoginLimit{60};
// An event stream that was open for this time was a good stream: its backoff begins anew.
inline constexpr std::chrono::seconds kLastingStream{10};
// While no connection to the service comes about, an attempt costs about 100 bytes, and nothing
// without a network. So the attempts of a session begin about every second, without end.
inline constexpr Backoff kSearchBackoff{std::chrono::seconds(1), std::chrono::seconds(1)};
// The limit of connecting is 1, 2, 4 and 8 s in turn: a short attempt soon sends its first packet
// again, a long one suits a slow network. `attempt`: from 1.
constexpr std::chrono::seconds SearchConnectLimit(int attempt)
{
    return std::chrono::seconds(1 << ((attempt - 1) % 4));
}
// After the console has begun to end, pending deletions have this time.
inline constexpr std::chrono::seconds kDeletionLimitWhenEnding{2};
// After a failed device report, reports pause for this many times the time that it took.
inline constexpr int kReportPauseFactor = 5;
inline constexpr std::chrono::seconds kLongestReportPause{10};

} // namespace kesdk::impl
