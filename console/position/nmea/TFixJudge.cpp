#include "console/position/nmea/TFixJudge.h"

#include <algorithm>
#include <cstddef>

namespace console {

bool TFixJudge::Judge(const TNmeaSentence& sentence, std::int64_t nowMs, TReceivedFix& fix)
{
    m_verdicts[static_cast<std::size_t>(sentence.kind)] = {
        true, sentence.isValid, sentence.quality.value_or(EFixQuality::eNone), nowMs};
    const bool isFix =
        std::all_of(m_verdicts.begin(), m_verdicts.end(), [&](const TVerdict& verdict) {
            return !Holds(verdict, nowMs) || verdict.isValid;
        });
    if (isFix) {
        fix.latitudeDegrees = sentence.latitudeDegrees;
        fix.longitudeDegrees = sentence.longitudeDegrees;
        fix.utcTime = sentence.time->hhmmss; // a valid sentence has a time
        fix.quality = Quality(nowMs, sentence);
    }
    return isFix;
}

void TFixJudge::Restart()
{
    m_verdicts = {};
}

const TFixJudge::TVerdict& TFixJudge::Verdict(ESentenceKind kind) const
{
    return m_verdicts[static_cast<std::size_t>(kind)];
}

bool TFixJudge::Holds(const TVerdict& verdict, std::int64_t nowMs) const
{
    return verdict.isKnown && nowMs - verdict.atMs < rememberMs;
}

EFixQuality TFixJudge::Quality(std::int64_t nowMs, const TNmeaSentence& sentence) const
{
    for (const ESentenceKind kind : {ESentenceKind::eGga, ESentenceKind::eGns}) {
        if (Holds(Verdict(kind), nowMs)) {
            return Verdict(kind).quality;
        }
    }
    return sentence.quality.value_or(
        EFixQuality::eAutonomous); // sentences of old receivers have no mode
}

} // namespace console
