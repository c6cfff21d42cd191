// A sentence of NMEA 0183 that tells a position.
#pragma once

#include "console/position/nmea/NmeaFields.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace console {

// The kinds of sentences that are read for positions.
enum class ESentenceKind : std::uint8_t { eGga, eRmc, eGll, eGns };

constexpr int sentenceKindCount = 4;

// What a sentence says. Without a valid position only the kind is sure to be there.
struct TNmeaSentence
{
    ESentenceKind kind = ESentenceKind::eGga;
    bool isValid = false; // the receiver vouches for the position
    std::optional<EFixQuality> quality;
    std::optional<TTimeOfDay> time; // always there with a valid position
    double latitudeDegrees = 0.0;
    double longitudeDegrees = 0.0;
};

enum class EReading : std::uint8_t {
    eRead,       // the sentence tells of a position, or that there is none
    eOtherKind,  // whole, but it tells of something else
    eNoChecksum, // has none, or something stands behind it
    eBadChecksum,
    eMalformed, // whole, but a field that matters makes no sense
};

// Reads one sentence, from its "$" to the end of its line. Only after eRead is `sentence` usable.
// A sentence without a checksum is not read: it may be torn.
EReading ReadSentence(std::string_view text, TNmeaSentence& sentence);

} // namespace console
