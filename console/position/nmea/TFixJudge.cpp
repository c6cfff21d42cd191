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
        TakeMotion(sentence, nowMs);
        if (sentence.satellites) {
            m_extras.satellites = sentence.satellites;
            m_extras.satellitesAtMs = nowMs;
        }
        AddExtras(nowMs, fix);
    }
    return isFix;
}

void TFixJudge::Restart()
{
    m_verdicts = {};
    m_extras = {};
}

void TFixJudge::TakeMotion(const TNmeaSentence& sentence, std::int64_t nowMs)
{
    if (sentence.speedKmh) {
        m_extras.speedKmh = sentence.speedKmh;
        m_extras.headingDegrees = sentence.headingDegrees;
        m_extras.motionAtMs = nowMs;
    }
}

void TFixJudge::AddExtras(std::int64_t nowMs, TReceivedFix& fix) const
{
    if (nowMs - m_extras.satellitesAtMs < rememberMs) {
        fix.satellites = m_extras.satellites;
    }
    if (nowMs - m_extras.motionAtMs < rememberMs) {
        fix.speedKmh = m_extras.speedKmh;
        fix.headingDegrees = m_extras.headingDegrees;
    }
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
