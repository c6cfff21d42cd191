// The NMEA reader on any bytes. The reader does not crash, and the size of the pieces makes no
// difference. Every position that it reports is in a sentence of the input with a right checksum.
//
// Bit 0 of the first byte: correct the checksums first, so that damaged sentences pass the
// checksum. The other bits are the size of the pieces.
#include "console/position/nmea/TFixValidity.h"
#include "console/position/nmea/TNmeaReader.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace {

using console::EFixQuality;
using console::TNmeaReader;
using console::TNmeaSentence;
using console::TReceivedFix;

// Ends the program, so that the fuzzer keeps the input.
void Demand(bool holds, const char* what)
{
    if (!holds) {
        std::fprintf(stderr, "violated: %s\n", what);
        std::abort();
    }
}

unsigned Sum(std::string_view body)
{
    unsigned sum = 0;
    for (const char character : body) {
        sum ^= static_cast<unsigned char>(character);
    }
    return sum;
}

std::string WithRightChecksums(std::string text)
{
    for (std::size_t star = text.find('*'); star != std::string::npos;
         star = text.find('*', star + 1)) {
        const std::size_t dollar = text.rfind('$', star);
        if (dollar != std::string::npos && star + 2 < text.size()) {
            const unsigned sum = Sum(std::string_view(text).substr(dollar + 1, star - dollar - 1));
            text[star + 1] = "0123456789ABCDEF"[sum / 16];
            text[star + 2] = "0123456789abcdef"[sum % 16];
        }
    }
    return text;
}

// The degrees of a field such as "4807.038", computed without the reader's code.
double Degrees(const std::string& field, const std::string& hemisphere)
{
    const double value = std::strtod(field.c_str(), nullptr);
    const double degrees = std::floor(value / 100.0) + std::fmod(value, 100.0) / 60.0;
    return hemisphere == "S" || hemisphere == "W" ? -degrees : degrees;
}

using TPlace = std::tuple<double, double>;

// The positions in all sentences with a right checksum. A sentence may begin at any '$', and any
// field may be the latitude.
std::vector<TPlace> PlacesIn(const std::string& text)
{
    std::vector<TPlace> places;
    for (std::size_t begin = text.find('$'); begin != std::string::npos;
         begin = text.find('$', begin + 1)) {
        const std::size_t star = text.find('*', begin);
        if (star == std::string::npos || star + 2 >= text.size()) {
            break;
        }
        const std::string body = text.substr(begin + 1, star - begin - 1);
        char* end = nullptr;
        const std::string digits = text.substr(star + 1, 2);
        if (std::strtoul(digits.c_str(), &end, 16) != Sum(body) || *end != '\0') {
            continue;
        }
        std::vector<std::string> fields(1);
        for (const char character : body) {
            if (character == ',') {
                fields.emplace_back();
            } else {
                fields.back() += character;
            }
        }
        for (std::size_t i = 1; i + 3 < fields.size() && i < 4; ++i) {
            places.emplace_back(Degrees(fields[i], fields[i + 1]),
                                Degrees(fields[i + 2], fields[i + 3]));
        }
    }
    return places;
}

void CheckFix(const TReceivedFix& fix, const std::vector<TPlace>& places)
{
    Demand(std::abs(fix.latitudeDegrees) <= 90.0 && std::abs(fix.longitudeDegrees) <= 180.0,
           "a position is on Earth");
    Demand(fix.utcTime >= 0.0 && fix.utcTime < 235961.0, "a time is within a day");
    Demand(fix.quality != EFixQuality::eNone, "a fix has a quality");
    Demand(fix.satellites.value_or(0) >= 0, "a number of satellites is not negative");
    Demand(fix.speedKmh.value_or(0.0) >= 0.0, "a speed is not negative");
    const double heading = fix.headingDegrees.value_or(0.0);
    Demand(heading >= 0.0 && heading <= 360.0, "a heading is within a circle");
    Demand(std::any_of(places.begin(), places.end(),
                       [&](const TPlace& place) {
                           return std::abs(std::get<0>(place) - fix.latitudeDegrees) < 1e-9 &&
                                  std::abs(std::get<1>(place) - fix.longitudeDegrees) < 1e-9;
                       }),
           "a position is in the input");
}

std::vector<TReceivedFix> Read(std::string_view text, std::size_t pieceBytes)
{
    std::vector<TReceivedFix> fixes;
    console::TFixValidity validity;
    std::uint64_t sentences = 0;
    std::uint64_t motions = 0;
    TNmeaReader reader([&](const TNmeaSentence& sentence) {
        if (sentence.kind == console::ESentenceKind::eVtg) {
            ++motions;
            validity.TakeMotion(sentence, static_cast<std::int64_t>(sentences) * 100);
            return;
        }
        ++sentences;
        Demand(!sentence.isValid || sentence.time.has_value(), "a valid sentence has a time");
        TReceivedFix fix;
        if (validity.Update(sentence, static_cast<std::int64_t>(sentences) * 100, fix)) {
            fixes.push_back(fix);
        }
    });
    for (; !text.empty(); text.remove_prefix(std::min(pieceBytes, text.size()))) {
        reader.Take(text.substr(0, pieceBytes));
    }
    Demand(reader.Counts().positions == sentences, "every sentence is counted once");
    Demand(reader.Counts().others >= motions, "every motion is counted");
    return fixes;
}

bool AreSame(const TReceivedFix& a, const TReceivedFix& b)
{
    return a.latitudeDegrees == b.latitudeDegrees && a.longitudeDegrees == b.longitudeDegrees &&
           a.utcTime == b.utcTime && a.quality == b.quality && a.satellites == b.satellites &&
           a.speedKmh == b.speedKmh && a.headingDegrees == b.headingDegrees;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0) {
        return 0;
    }
    const unsigned mode = data[0];
    std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    if ((mode & 1) != 0) {
        text = WithRightChecksums(std::move(text));
    }
    const std::vector<TReceivedFix> fixes = Read(text, text.size());
    const std::vector<TReceivedFix> inPieces = Read(text, mode / 2 + 1);
    Demand(std::equal(fixes.begin(), fixes.end(), inPieces.begin(), inPieces.end(), AreSame),
           "the size of the pieces makes no difference");
    const std::vector<TPlace> places = PlacesIn(text);
    for (const TReceivedFix& fix : fixes) {
        CheckFix(fix, places);
    }
    return 0;
}
