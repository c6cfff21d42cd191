#include "console/position/nmea/NmeaSentence.h"

#include <array>
#include <cstddef>

namespace {

using console::EFixQuality;
using console::EReading;
using console::ESentenceKind;
using console::TNmeaSentence;

constexpr int absent = -1;
constexpr double kmhPerKnot = 1.852;

// The places of the fields in a kind of sentence; the address is field 0.
struct TLayout
{
    std::string_view name;
    ESentenceKind kind;
    int time;
    int latitude; // hemisphere, longitude and hemisphere follow
    int status;   // "A" or "V"
    int quality;
    int mode; // in newer receivers only, if there is a status
    int satellites;
    int speed; // knots
    int heading;
};

constexpr std::array<TLayout, console::sentenceKindCount> layoutTable = {{
    {"GGA", ESentenceKind::eGga, 1, 2, absent, 6, absent, 7, absent, absent},
    {"RMC", ESentenceKind::eRmc, 1, 3, 2, absent, 12, absent, 7, 8},
    {"GLL", ESentenceKind::eGll, 5, 1, 6, absent, 7, absent, absent, absent},
    {"GNS", ESentenceKind::eGns, 1, 2, absent, absent, 6, 7, absent, absent},
    {"VTG", ESentenceKind::eVtg, absent, absent, absent, absent, 9, absent, 5, 1},
}};

constexpr std::size_t maxFields = 32;

struct TFields
{
    std::array<std::string_view, maxFields> values;
    std::size_t count = 0;

    // Returns an empty text for an absent field.
    std::string_view At(int index) const
    {
        const auto position = static_cast<std::size_t>(index);
        return index >= 0 && position < count ? values[position] : std::string_view();
    }
};

TFields Split(std::string_view body)
{
    TFields fields;
    while (fields.count < maxFields) {
        const std::size_t comma = body.find(',');
        fields.values[fields.count++] = body.substr(0, comma);
        if (comma == std::string_view::npos) {
            break;
        }
        body.remove_prefix(comma + 1);
    }
    return fields;
}

std::optional<unsigned> HexDigit(char character)
{
    if (character >= '0' && character <= '9') {
        return static_cast<unsigned>(character - '0');
    }
    if (character >= 'A' && character <= 'F') {
        return static_cast<unsigned>(character - 'A') + 10;
    }
    if (character >= 'a' && character <= 'f') {
        return static_cast<unsigned>(character - 'a') + 10;
    }
    return std::nullopt;
}

// Sets `body` to the text between "$" and "*", which the checksum covers.
EReading TakeBody(std::string_view text, std::string_view& body)
{
    const std::size_t star = text.find('*');
    if (text.empty() || text.front() != '$' || star == std::string_view::npos ||
        text.size() < star + 3) {
        return EReading::eNoChecksum;
    }
    const auto high = HexDigit(text[star + 1]);
    const auto low = HexDigit(text[star + 2]);
    const bool endsThere = text.find_first_not_of(' ', star + 3) == std::string_view::npos;
    if (!high || !low || !endsThere) {
        return EReading::eNoChecksum;
    }
    body = text.substr(1, star - 1);
    unsigned sum = 0;
    for (const char character : body) {
        sum ^= static_cast<unsigned char>(character);
    }
    return sum == *high * 16 + *low ? EReading::eRead : EReading::eBadChecksum;
}

// The address has two letters for the talker and three letters for the kind. The address of a
// proprietary sentence begins with P and has any length.
const TLayout* FindLayout(std::string_view address)
{
    if (address.size() != 5 || address.front() == 'P') {
        return nullptr;
    }
    for (const TLayout& layout : layoutTable) {
        if (address.substr(2) == layout.name) {
            return &layout;
        }
    }
    return nullptr;
}

// Reads whether the receiver marks the position as valid. False if the fields are not clear.
bool ReadValidity(const TLayout& layout, const TFields& fields, TNmeaSentence& sentence)
{
    if (layout.quality != absent) {
        sentence.quality = console::ReadQuality(fields.At(layout.quality));
    } else if (const std::string_view mode = fields.At(layout.mode); !mode.empty()) {
        sentence.quality = console::ReadMode(mode);
        if (!sentence.quality) {
            return false;
        }
    }
    if (layout.status == absent) {
        sentence.isValid = sentence.quality.value_or(EFixQuality::eNone) != EFixQuality::eNone;
        return sentence.quality.has_value();
    }
    const std::string_view status = fields.At(layout.status);
    sentence.isValid = status == "A" && sentence.quality != EFixQuality::eNone;
    return status == "A" || status == "V";
}

// A field that is empty or damaged stays empty: the position does not depend on it.
void ReadExtras(const TLayout& layout, const TFields& fields, TNmeaSentence& sentence)
{
    if (const auto satellites = console::ReadDecimal(fields.At(layout.satellites))) {
        sentence.satellites = static_cast<int>(*satellites);
    }
    if (const auto knots = console::ReadDecimal(fields.At(layout.speed))) {
        sentence.speedKmh = *knots * kmhPerKnot;
    }
    const auto heading = console::ReadDecimal(fields.At(layout.heading));
    if (heading && *heading <= 360.0) {
        sentence.headingDegrees = heading;
    }
}

// A VTG sentence.
EReading ReadMotion(const TLayout& layout, const TFields& fields, TNmeaSentence& sentence)
{
    const std::string_view mode = fields.At(layout.mode);
    if (mode.empty() ||
        console::ReadMode(mode).value_or(EFixQuality::eNone) != EFixQuality::eNone) {
        ReadExtras(layout, fields, sentence);
    }
    return EReading::eMotion;
}

} // namespace

namespace console {

EReading ReadSentence(std::string_view text, TNmeaSentence& sentence)
{
    std::string_view body;
    const EReading reading = TakeBody(text, body);
    if (reading != EReading::eRead) {
        return reading;
    }
    const TFields fields = Split(body);
    const TLayout* const layout = FindLayout(fields.At(0));
    if (layout == nullptr) {
        return EReading::eOtherKind;
    }
    sentence = TNmeaSentence();
    sentence.kind = layout->kind;
    if (layout->latitude == absent) {
        return ReadMotion(*layout, fields, sentence);
    }
    if (!ReadValidity(*layout, fields, sentence)) {
        return EReading::eMalformed;
    }
    sentence.time = ReadTimeOfDay(fields.At(layout->time));
    if (!sentence.isValid) {
        return EReading::eRead; // the other fields are empty or hold old values
    }
    const int first = layout->latitude;
    const auto latitude = ReadLatitude(fields.At(first), fields.At(first + 1));
    const auto longitude = ReadLongitude(fields.At(first + 2), fields.At(first + 3));
    if (!sentence.time || !latitude || !longitude) {
        return EReading::eMalformed;
    }
    sentence.latitudeDegrees = *latitude;
    sentence.longitudeDegrees = *longitude;
    ReadExtras(*layout, fields, sentence);
    return EReading::eRead;
}

} // namespace console
