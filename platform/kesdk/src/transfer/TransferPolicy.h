// How stubbornly uploads and downloads go on over a bad link.
#pragma once

#include "client/RetryingClient.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <optional>
#include <string>
#include <utility>

namespace kesdk::impl {

// Only the pauses count here: how long it is tried is a matter of the patience below.
inline constexpr RetryPolicy kTransferPolicy{1, std::chrono::milliseconds(500),
                                             std::chrono::milliseconds(8'000),
                                             std::chrono::milliseconds(0)};

// Answers in a row that bring a transfer no further. A link does not give those.
inline constexpr int kMostFruitlessAnswers = 6;

// A transfer goes on for as long as bytes arrive, and is given up when none did for so long. After
// one that was, the next has little time to bring the first byte: a selection of many files would
// wait for hours on a dead link otherwise.
class Patience
{
public:
    static constexpr std::chrono::seconds kLongest{5 * 60};
    static constexpr std::chrono::seconds kAfterOneInVain{30};

    Patience(Clock::Time now, bool wasOneInVain)
        : m_progress(now), m_limit(wasOneInVain ? kAfterOneInVain : kLongest)
    {}

    void SeeProgress(Clock::Time at)
    {
        m_progress = std::max(m_progress, at);
        m_limit = kLongest;
        m_perhaps.reset();
    }
    // So long the console itself was busy: the link had nothing to carry.
    void Extend(Clock::Time::duration by)
    {
        m_progress += by;
        if (m_perhaps)
            *m_perhaps += by;
    }
    // Bytes left until then, but nobody has said yet whether they arrived.
    void SeePossibleProgress(Clock::Time at) { m_perhaps = at; }
    // Now it was said: they did not. Whether that had been possible.
    bool SeeNoProgress() { return std::exchange(m_perhaps, std::nullopt).has_value(); }

    bool IsOver(Clock::Time now) const { return now - Since() >= Limit(); }
    // The failure to end with instead of trying again after this one; not set while it shall be
    // tried. Whoever asks for a longer pause than is left ends it at once, with its own words.
    Failure Judge(const Failure& failure, Clock::Time now) const
    {
        if (!MayPass(failure))
            return failure;
        if (IsOver(now))
            return NoProgress(failure);
        const bool waitsTooLong =
            failure.retryAfter && now + *failure.retryAfter - Since() >= Limit();
        return waitsTooLong ? failure : Failure();
    }

private:
    Clock::Time Since() const { return m_perhaps.value_or(m_progress); }
    std::chrono::seconds Limit() const { return m_perhaps ? kLongest : m_limit; }
    Failure NoProgress(const Failure& last) const
    {
        return Failure(EErrorCode::eNoProgress,
                       "no byte for " + std::to_string(Limit().count()) +
                           " s; at last: " + last.detail,
                       last.httpStatus);
    }

    Clock::Time m_progress;
    std::chrono::seconds m_limit;
    std::optional<Clock::Time> m_perhaps;
};

// Whether the last transfer of a kind was given up for the link's sake, so shortly ago that the
// link is likely to be as it was.
class LastInVain
{
public:
    void See(const Failure& failure, Clock::Time now)
    {
        m_at = failure.Is(EErrorCode::eNoProgress) ? std::optional(now) : std::nullopt;
    }
    bool Counts(Clock::Time now) const
    {
        constexpr std::chrono::minutes kCounts{2};
        return m_at && now - *m_at < kCounts;
    }

private:
    std::optional<Clock::Time> m_at;
};

// Whether a part is worth nothing to a later call: the service has another file or none, or what
// came is not it, or the console has no room for it. Whatever else went wrong, a network that is
// not the right one or a service in trouble, costs not one byte of it.
inline bool IsWorthlessAfter(const Failure& failure)
{
    constexpr EErrorCode kEnds[] = {
        EErrorCode::eFileGone,         EErrorCode::eNotFound,
        EErrorCode::eForbidden,        EErrorCode::eRangeRefused,
        EErrorCode::eDamaged,          EErrorCode::eDiskFull,
        EErrorCode::eCannotWrite,      EErrorCode::eInvalidArgument,
        EErrorCode::eUnusableFileName, EErrorCode::eUnusableServiceName};
    return std::find(std::begin(kEnds), std::end(kEnds), failure.code) != std::end(kEnds);
}

// Whether the service has said that it takes no such upload. That is its outcome as long as nothing
// of it may have got there.
inline bool IsRefusal(const Failure& failure)
{
    constexpr EErrorCode kRefusals[] = {EErrorCode::eNotFound, EErrorCode::eForbidden,
                                        EErrorCode::eTooLarge, EErrorCode::eRefusedByService};
    return std::find(std::begin(kRefusals), std::end(kRefusals), failure.code) !=
           std::end(kRefusals);
}

} // namespace kesdk::impl
