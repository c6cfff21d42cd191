// Decides from a receiver's sentences whether there is a fix.
#pragma once

#include "console/position/nmea/NmeaSentence.h"

#include <array>
#include <cstdint>

namespace console {

// A valid position. The place and the time come from one sentence.
struct TReceivedFix
{
    double latitudeDegrees = 0.0;
    double longitudeDegrees = 0.0;
    double utcTime = 0.0; // hhmmss.ss, as the receiver wrote it
    EFixQuality quality = EFixQuality::eNone;
    // From the last sentence that had them, at most rememberMs before.
    std::optional<int> satellites = std::nullopt;
    std::optional<double> speedKmh = std::nullopt;
    std::optional<double> headingDegrees = std::nullopt; // of the motion, from true north; 0 to 360
};

// A receiver reports each epoch in several sentences of different kinds, in any order. This class
// keeps the last status of each kind (valid or void) for rememberMs:
//
// - RMC and GLL are void with status V or mode N, GGA with quality 0, GNS with only modes N.
// - If the status of at least one kind is void, there is no fix.
// - If no status is void, each valid sentence is a fix, also the sentence that ended the last void
//   status.
//
// So if the sentences of a receiver disagree, the fix is void, which is the safe result. The fix
// does not alternate with the sentences: it returns when the last void status turns valid or is
// older than rememberMs. GSA, GSV, VTG and other kinds have no status. Estimated, manual and
// simulated positions are fixes, because the receiver marks them as valid; their quality tells them
// apart.
//
// The quality comes from the last GGA or GNS sentence. Without one it comes from the sentence's own
// mode, because RMC has fewer qualities.
//
// Thread: the owner's thread. Units: times are milliseconds of any monotonic clock.
class TFixValidity
{
public:
    static constexpr std::int64_t rememberMs = 5000;

    // Takes any sentence with a position (not VTG). Returns whether there is a fix, and then sets
    // `fix`.
    bool Update(const TNmeaSentence& sentence, std::int64_t nowMs, TReceivedFix& fix);
    // Takes the speed and the heading of a valid sentence of any kind.
    void TakeMotion(const TNmeaSentence& sentence, std::int64_t nowMs);
    // Forgets everything, for another receiver or a new connection.
    void Restart();

private:
    struct TStatus
    {
        bool isKnown = false;
        bool isValid = false;
        EFixQuality quality = EFixQuality::eNone;
        std::int64_t atMs = 0;
    };

    const TStatus& Status(ESentenceKind kind) const;
    bool Holds(const TStatus& status, std::int64_t nowMs) const;
    EFixQuality Quality(std::int64_t nowMs, const TNmeaSentence& sentence) const;

    struct TExtras
    {
        std::optional<int> satellites;
        std::int64_t satellitesAtMs = 0;
        std::optional<double> speedKmh;
        std::optional<double> headingDegrees;
        std::int64_t motionAtMs = 0;
    };

    void AddExtras(std::int64_t nowMs, TReceivedFix& fix) const;

    std::array<TStatus, positionKindCount> m_statuses;
    TExtras m_extras;
};

} // namespace console
