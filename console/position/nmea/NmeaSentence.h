// Reads an NMEA 0183 sentence with a position or a motion.
#pragma once

#include "console/position/nmea/NmeaFields.h"

#include <cstdint>
#include <optional>
#include <string_view>

namespace console {

// The kinds of sentences that are read. VTG has no position.
enum class ESentenceKind : std::uint8_t { eGga, eRmc, eGll, eGns, eVtg };

constexpr int positionKindCount = 4;
constexpr int sentenceKindCount = 5;

// The values of a sentence. Without a valid position only the kind is set for certain.
struct TNmeaSentence
{
    ESentenceKind kind = ESentenceKind::eGga;
    bool isValid = false; // the receiver marks the position as valid
    std::optional<EFixQuality> quality;
    std::optional<TTimeOfDay> time; // always there with a valid position
    double latitudeDegrees = 0.0;
    double longitudeDegrees = 0.0;
    std::optional<int> satellites; // in use
    std::optional<double> speedKmh;
    std::optional<double> headingDegrees; // of the motion, from true north; 0 to 360
};

enum class EReading : std::uint8_t {
    eRead,       // the sentence holds a position or reports that there is none
    eMotion,     // a whole VTG sentence
    eOtherKind,  // a whole sentence without a position
    eNoChecksum, // the checksum is missing, or bytes follow it
    eBadChecksum,
    eMalformed, // a whole sentence, but a required field is invalid
};

// Reads one sentence, from its "$" to the end of its line. `sentence` is valid only after eRead
// and eMotion. A sentence without a checksum is not read: its end may be missing.
EReading ReadSentence(std::string_view text, TNmeaSentence& sentence);

} // namespace console
