// Finds the sentences of NMEA 0183 in a stream of bytes.
#pragma once

#include "console/position/nmea/NmeaSentence.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace console {

// What has come so far, sentence by sentence. A sentence is in exactly one of these.
struct TNmeaCounts
{
    std::uint64_t positions = 0;  // sentences that tell of a position, or that there is none
    std::uint64_t others = 0;     // whole sentences of other kinds
    std::uint64_t noChecksum = 0; // incomplete, or torn by the beginning of the next
    std::uint64_t badChecksum = 0;
    std::uint64_t malformed = 0;
    std::uint64_t tooLong = 0;
    std::uint64_t notText = 0; // holds bytes that are no printable ASCII

    std::uint64_t Whole() const { return positions + others; }
    std::uint64_t Faulty() const
    {
        return noChecksum + badChecksum + malformed + tooLong + notText;
    }
};

// Takes bytes as they come, in pieces of any size, and calls for every whole sentence that tells of
// a position. Everything else is skipped and, from "$" on, counted: no input is an error.
//
// A sentence begins with "$", also in the midst of a line whose beginning was lost, and ends with
// the line or where the next begins. Lines that begin with "#" (comments in logs) or "{" (what gpsd
// says of itself) hold none.
//
// Thread: that of its owner. Memory: never more than one sentence of maxSentenceBytes.
class TNmeaReader
{
public:
    // The standard's 82 are too few for receivers that write more digits.
    static constexpr std::size_t maxSentenceBytes = 160;

    using TOnSentence = std::function<void(const TNmeaSentence&)>;

    explicit TNmeaReader(TOnSentence onSentence);

    void Take(std::string_view bytes);
    // The stream has ended, or begins anew: the last sentence needs no line end, but one that is
    // not whole is dropped.
    void Restart();
    const TNmeaCounts& Counts() const { return m_counts; }

private:
    enum class EPlace : std::uint8_t {
        eLineBegin,
        eBetween,    // in a line, but in no sentence
        eSentence,   // collecting
        eSkip,       // in a sentence that is spoilt
        eForeignLine // holds no sentences
    };

    void Take(char byte);
    void BeginSentence();
    void EndSentence();
    void Collect(char byte);

    TOnSentence m_onSentence;
    TNmeaCounts m_counts;
    std::string m_text; // of the sentence, from its "$"
    EPlace m_place = EPlace::eLineBegin;
};

} // namespace console
