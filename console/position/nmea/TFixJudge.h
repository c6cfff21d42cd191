// Decides from a receiver's sentences whether there is a fix.
#pragma once

#include "console/position/nmea/NmeaSentence.h"

#include <array>
#include <cstdint>

namespace console {

// A position that the receiver vouches for. All values but the quality are of one sentence.
struct TReceivedFix
{
    double latitudeDegrees = 0.0;
    double longitudeDegrees = 0.0;
    double utcTime = 0.0; // hhmmss.ss, as the receiver wrote it
    EFixQuality quality = EFixQuality::eNone;
};

// A receiver tells one epoch in several sentences, in an order of its own. Each kind of sentence
// has a voice, and what it said last holds for rememberMs:
//
//   a sentence is void: RMC or GLL with status V or mode N, GGA with quality 0, GNS with only N's
//   one voice says void  → the fix is void, at once
//   all voices say valid → each valid sentence is a fix, the one that made it so included
//
// So sentences that disagree make a void fix, which is the safe side, and the fix does not flicker
// as they alternate: it comes back when the last of the dissenters agrees or has been silent for
// rememberMs. GSA, GSV, VTG and others have no voice. Positions that are estimated, entered by hand
// or simulated are fixes (the receiver vouches for them); their quality says what they are.
//
// The quality is what GGA or GNS said last, else the sentence's own mode: RMC knows fewer kinds.
//
// Thread: that of its owner. Units: times are milliseconds of any clock that does not go back.
class TFixJudge
{
public:
    static constexpr std::int64_t rememberMs = 5000;

    // Whether there is a fix, now that this sentence has come. `fix` is set if there is.
    bool Judge(const TNmeaSentence& sentence, std::int64_t nowMs, TReceivedFix& fix);
    // Another receiver, or the same one anew: forgets all voices.
    void Restart();

private:
    struct TVoice
    {
        bool hasSpoken = false;
        bool isValid = false;
        EFixQuality quality = EFixQuality::eNone;
        std::int64_t atMs = 0;
    };

    const TVoice& Voice(ESentenceKind kind) const;
    bool Holds(const TVoice& voice, std::int64_t nowMs) const;
    EFixQuality Quality(std::int64_t nowMs, const TNmeaSentence& sentence) const;

    std::array<TVoice, sentenceKindCount> m_voices;
};

} // namespace console
