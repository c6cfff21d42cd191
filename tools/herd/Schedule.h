// The actions of a simulated console and their times, computed from a seed.
#pragma once

#include "tools/herd/Random.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace herd {

enum class EAction : std::uint8_t { Position, Equipment, List, Upload, Download, Send, LoseLink };
inline constexpr std::size_t actionCount = 7;

enum class ERole : std::uint8_t { Operator, Office };

/** One kind of action: who does it, how often without an option, and how it is spread. */
struct ActionRow
{
    EAction action;
    ERole role;
    bool isPeriodic; // at equal intervals; otherwise at random
    double perHour;
    const char* option;
    const char* meaning;
};

/** In the order of EAction. */
inline constexpr std::array<ActionRow, actionCount> actionRows = {{
    {EAction::Position, ERole::Operator, true, 60, "--positions-per-hour", "Positions"},
    {EAction::Equipment, ERole::Operator, false, 2, "--equipment-per-hour",
     "Reports of a device that is connected or disconnected"},
    {EAction::List, ERole::Operator, false, 2, "--lists-per-hour", "Lists of an inbox"},
    {EAction::Upload, ERole::Operator, false, 6, "--uploads-per-hour",
     "Uploads to the console's own inbox"},
    {EAction::Download, ERole::Operator, false, 6, "--downloads-per-hour", "Downloads"},
    {EAction::Send, ERole::Office, false, 2, "--sends-per-hour",
     "Files that the office of a farm sends to all its consoles"},
    {EAction::LoseLink, ERole::Operator, false, 1, "--outages-per-hour",
     "Lost links, for 1 to 30 s each"},
}};

/** Actions of a console in an hour, in the order of EAction. */
using Rates = std::array<double, actionCount>;

Rates defaultRates();

/** The rates of a role without lost links, or those of the lost links only. */
Rates ratesOf(ERole role, const Rates& all, bool ofLostLinks);

struct PlannedAction
{
    std::chrono::milliseconds at{0}; // since the start of the herd
    EAction action = EAction::Position;
    std::uint64_t dice = 0; // chooses the size, the file or the duration

    bool operator==(const PlannedAction&) const = default;
};

/**
 * The actions of one console in the order of their times. The same arguments give the same actions.
 * The rate of one kind does not change the times of the other kinds.
 */
class Schedule
{
public:
    Schedule(std::uint64_t seed, std::uint32_t console, const Rates& rates,
             std::chrono::milliseconds begin, std::chrono::milliseconds end);

    /** Empty if no further action begins before the end. */
    std::optional<PlannedAction> next();

private:
    struct Track
    {
        Random random{0};
        double atMs = 0;
        double meanMs = 0; // 0: never
    };

    void advance(std::size_t kind);

    std::array<Track, actionCount> tracks_;
    double endMs_;
};

} // namespace herd
