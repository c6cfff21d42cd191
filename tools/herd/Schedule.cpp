#include "tools/herd/Schedule.h"

namespace herd {

namespace {

constexpr double hourMs = 3'600'000;

} // namespace

Rates defaultRates()
{
    Rates rates{};
    for (std::size_t i = 0; i < actionCount; ++i) {
        rates[i] = actionRows[i].perHour;
    }
    return rates;
}

Rates ratesOf(ERole role, const Rates& all, bool ofLostLinks)
{
    Rates rates{};
    for (std::size_t i = 0; i < actionCount; ++i) {
        const bool isLostLink = actionRows[i].action == EAction::LoseLink;
        rates[i] = actionRows[i].role == role && isLostLink == ofLostLinks ? all[i] : 0;
    }
    return rates;
}

Schedule::Schedule(std::uint64_t seed, std::uint32_t console, const Rates& rates,
                   std::chrono::milliseconds begin, std::chrono::milliseconds end)
    : endMs_(static_cast<double>(end.count()))
{
    const std::uint64_t own = Random::mix(seed + (console + 1) * Random::increment);
    for (std::size_t i = 0; i < actionCount; ++i) {
        Track& track = tracks_[i];
        track.random = Random(Random::mix(own + i));
        track.meanMs = rates[i] > 0 ? hourMs / rates[i] : 0;
        track.atMs = static_cast<double>(begin.count());
        if (actionRows[i].isPeriodic) {
            track.atMs += track.random.fraction() * track.meanMs;
        } else {
            advance(i);
        }
    }
}

std::optional<PlannedAction> Schedule::next()
{
    std::optional<std::size_t> first;
    for (std::size_t i = 0; i < actionCount; ++i) {
        const Track& track = tracks_[i];
        if (track.meanMs > 0 && track.atMs < endMs_ &&
            (!first || track.atMs < tracks_[*first].atMs)) {
            first = i;
        }
    }
    if (!first) {
        return std::nullopt;
    }
    Track& track = tracks_[*first];
    const std::chrono::milliseconds at(static_cast<std::int64_t>(track.atMs));
    const PlannedAction planned{at, actionRows[*first].action, track.random.next()};
    advance(*first);
    return planned;
}

void Schedule::advance(std::size_t kind)
{
    Track& track = tracks_[kind];
    track.atMs += actionRows[kind].isPeriodic ? track.meanMs : track.random.gap(track.meanMs);
}

} // namespace herd
