// Decides from a receiver's sentences whether there is a fix.
#include "console/position/nmea/TFixJudge.h"

#include <algorithm>
#include <cstddef>

namespace console {

bool TFixJudge::Judge(const TNmeaSentence& sentence, std::int64_t nowMs, TReceivedFix& fix)
{
    m_voices[static_cast<std::size_t>(sentence.kind)] = {
        true, sentence.isValid, sentence.quality.value_or(EFixQuality::eNone), nowMs};
    const bool isFix = std::all_of(m_voices.begin(), m_voices.end(), [&](const TVoice& voice) {
        return !Holds(voice, nowMs) || voice.isValid;
    });
    if (isFix) {
        fix.latitudeDegrees = sentence.latitudeDegrees;
        fix.longitudeDegrees = sentence.longitudeDegrees;
        fix.utcTime = sentence.time->hhmmss; // a valid sentence has it
        fix.quality = Quality(nowMs, sentence);
    }
    return isFix;
}

void TFixJudge::Restart()
{
    m_voices = {};
}

const TFixJudge::TVoice& TFixJudge::Voice(ESentenceKind kind) const
{
    return m_voices[static_cast<std::size_t>(kind)];
}

bool TFixJudge::Holds(const TVoice& voice, std::int64_t nowMs) const
{
    return voice.hasSpoken && nowMs - voice.atMs < rememberMs;
}

EFixQuality TFixJudge::Quality(std::int64_t nowMs, const TNmeaSentence& sentence) const
{
    for (const ESentenceKind kind : {ESentenceKind::eGga, ESentenceKind::eGns}) {
        if (Holds(Voice(kind), nowMs)) {
            return Voice(kind).quality;
        }
    }
    return sentence.quality.value_or(
        EFixQuality::eAutonomous); // the standard's oldest: no mode yet
}

} // namespace console
