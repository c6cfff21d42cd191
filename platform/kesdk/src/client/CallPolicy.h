// How long each kind of call is tried.
#pragma once

#include "base/Timing.h"
#include "http/HttpMessage.h"

#include <chrono>

namespace kesdk::impl {

enum class ECall {
    eLogin,        // a second attempt could count as a second wrong password
    eLogout,       // also what the end of the console waits for
    eFirstAccount, // of a login
    eAccount,      // of a session whose event stream could not resume
    eEvents,       // SessionThread connects again
    eGetter,       // the operator waits
    eChange,       // the operator waits
    eShortReport,  // a report that must not delay its caller
    ePosition,     // PositionSender keeps only the latest position
    eDeleteCopy,   // a copy with wrong content
    eContent,      // ResumableTransfer repeats it, because it knows the offset
};

struct CallPolicy
{
    int attempts = 3;
    // Of all attempts and the pauses between them; 0 = no limit.
    std::chrono::milliseconds total{0};
    Backoff backoff;
    HttpLimits limits; // of each attempt
};

// The call's policy. A comment of the event stream comes every 60 s: the stream may miss one
// comment, and counts as dead before the second one is due.
constexpr CallPolicy PolicyOf(ECall call)
{
    using std::chrono::milliseconds;
    constexpr milliseconds kNone{0};
    constexpr milliseconds kStall{30'000};
    struct Row
    {
        ECall call;
        int attempts;
        milliseconds total;
        Backoff backoff;
        milliseconds attemptTotal;
        milliseconds head;
        milliseconds stallWindow;
        std::int64_t stallBytes;
    };
    constexpr Backoff kSlow{milliseconds(500), milliseconds(30'000)};
    constexpr Backoff kQuick{milliseconds(500), milliseconds(4'000)};
    constexpr Backoff kStream{milliseconds(1'000), milliseconds(30'000)};
    constexpr Backoff kContent{milliseconds(500), milliseconds(8'000)};
    // A getter's attempt ends after 9 s: if its kept connection was dead, a new one has 6 s.
    constexpr Row kRows[] = {
        // call, attempts, total, backoff; of each attempt: total, head, stall window and bytes
        {ECall::eLogin, 1, kNone, kSlow, kNone, kNone, kStall, 30},
        {ECall::eLogout, 1, milliseconds(2'000), kSlow, kNone, kNone, kStall, 30},
        {ECall::eFirstAccount, 3, kNone, kSlow, milliseconds(600'000), kStall, kStall, 30},
        {ECall::eAccount, 3, kNone, kSlow, kNone, kNone, kStall, 30},
        {ECall::eEvents, 3, kNone, kStream, kNone, kStall, milliseconds(118'000), 1},
        {ECall::eGetter, 3, milliseconds(15'000), kQuick, milliseconds(9'000), kNone, kStall, 30},
        {ECall::eChange, 4, milliseconds(30'000), kQuick, milliseconds(9'000), kNone, kStall, 30},
        {ECall::eShortReport, 1, milliseconds(2'000), kSlow, kNone, kNone, kStall, 30},
        {ECall::ePosition, 1, milliseconds(20'000), kSlow, kNone, kNone, kStall, 30},
        {ECall::eDeleteCopy, 3, milliseconds(15'000), kSlow, kNone, kNone, kStall, 30},
        {ECall::eContent, 1, kNone, kContent, kNone, kNone, kStall, 30},
    };
    CallPolicy policy;
    for (const Row& row : kRows) {
        if (row.call != call)
            continue;
        policy = {row.attempts, row.total, row.backoff, {}};
        policy.limits.total = row.attemptTotal;
        policy.limits.head = row.head;
        policy.limits.stallWindow = row.stallWindow;
        policy.limits.stallBytes = row.stallBytes;
    }
    return policy;
}

} // namespace kesdk::impl
