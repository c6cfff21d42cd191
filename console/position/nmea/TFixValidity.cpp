#include "console/position/nmea/TFixValidity.h"

#include <algorithm>
#include <cstddef>

namespace console {

bool TFixValidity::Update(const TNmeaSentence& sentence, std::int64_t nowMs, TReceivedFix& fix)
{
    m_statuses[static_cast<std::size_t>(sentence.kind)] = {
        true, sentence.isValid, sentence.quality.value_or(EFixQuality::eNone), nowMs};
    const bool isFix =
        std::all_of(m_statuses.begin(), m_statuses.end(),
                    [&](const TStatus& status) { return !Holds(status, nowMs) || status.isValid; });
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

void TFixValidity::Restart()
{
    m_statuses = {};
    m_extras = {};
}

void TFixValidity::TakeMotion(const TNmeaSentence& sentence, std::int64_t nowMs)
{
    if (sentence.speedKmh) {
        m_extras.speedKmh = sentence.speedKmh;
        m_extras.headingDegrees = sentence.headingDegrees;
        m_extras.motionAtMs = nowMs;
    }
}

void TFixValidity::AddExtras(std::int64_t nowMs, TReceivedFix& fix) const
{
    if (nowMs - m_extras.satellitesAtMs < rememberMs) {
        fix.satellites = m_extras.satellites;
    }
    if (nowMs - m_extras.motionAtMs < rememberMs) {
        fix.speedKmh = m_extras.speedKmh;
        fix.headingDegrees = m_extras.headingDegrees;
    }
}

const TFixValidity::TStatus& TFixValidity::Status(ESentenceKind kind) const
{
    return m_statuses[static_cast<std::size_t>(kind)];
}

bool TFixValidity::Holds(const TStatus& status, std::int64_t nowMs) const
{
    return status.isKnown && nowMs - status.atMs < rememberMs;
}

EFixQuality TFixValidity::Quality(std::int64_t nowMs, const TNmeaSentence& sentence) const
{
    for (const ESentenceKind kind : {ESentenceKind::eGga, ESentenceKind::eGns}) {
        if (Holds(Status(kind), nowMs)) {
            return Status(kind).quality;
        }
    }
    return sentence.quality.value_or(
        EFixQuality::eAutonomous); // sentences of old receivers have no mode
}

} // namespace console
