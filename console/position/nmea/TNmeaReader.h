// Finds the sentences of NMEA 0183 in a stream of bytes.
#pragma once

#include "console/position/nmea/NmeaSentence.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace console {

// Numbers of sentences until now. Each sentence is counted in exactly one member.
struct TNmeaCounts
{
    std::uint64_t positions = 0;  // sentences with a position or with the report that there is none
    std::uint64_t others = 0;     // whole sentences of other kinds
    std::uint64_t noChecksum = 0; // incomplete, or cut by the beginning of the next sentence
    std::uint64_t badChecksum = 0;
    std::uint64_t malformed = 0;
    std::uint64_t tooLong = 0;
    std::uint64_t notText = 0; // with bytes other than printable ASCII

    std::uint64_t Whole() const { return positions + others; }
    std::uint64_t Faulty() const
    {
        return noChecksum + badChecksum + malformed + tooLong + notText;
    }
};

// Takes bytes in pieces of any size and calls a function for each whole sentence with a position
// or a motion.
// All other bytes are skipped, and other sentences are counted: no input is an error.
//
// A sentence begins with "$", also inside a line whose beginning is missing. It ends with the line
// or at the next "$". A line that begins with "#" (a comment in a log) or "{" (a report of gpsd)
// holds no sentence.
//
// Thread: the owner's thread. Memory: at most one sentence of maxSentenceBytes.
class TNmeaReader
{
public:
    // The standard's 82 bytes are too few for receivers that write more digits.
    static constexpr std::size_t maxSentenceBytes = 160;

    using TOnSentence = std::function<void(const TNmeaSentence&)>;

    explicit TNmeaReader(TOnSentence onSentence);

    void Take(std::string_view bytes);
    // The stream has ended, or it starts again. The last sentence needs no line end; an incomplete
    // sentence is dropped.
    void Restart();
    const TNmeaCounts& Counts() const { return m_counts; }

private:
    enum class EPlace : std::uint8_t {
        eLineBegin,
        eBetween,    // in a line, outside of a sentence
        eSentence,   // collecting
        eSkip,       // in a sentence that cannot be read
        eForeignLine // holds no sentences
    };

    void Take(char byte);
    void BeginSentence();
    void EndSentence();
    void Collect(char byte);

    TOnSentence m_onSentence;
    TNmeaCounts m_counts;
    std::string m_text; // the sentence from its "$"
    EPlace m_place = EPlace::eLineBegin;
};

} // namespace console
