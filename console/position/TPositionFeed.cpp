#include "console/position/TPositionFeed.h"

namespace console {

TPositionFeed::TPositionFeed(TPositionMonitor& monitor)
    : m_monitor(monitor), m_reader([this](const TNmeaSentence& sentence) { OnSentence(sentence); })
{}

void TPositionFeed::Take(std::string_view bytes, std::int64_t nowMs)
{
    Tick(nowMs); // the timer may be late
    m_nowMs = nowMs;
    m_reader.Take(bytes);
    m_monitor.OnCounts(m_reader.Counts());
}

void TPositionFeed::Tick(std::int64_t nowMs)
{
    if (m_deadlineMs && nowMs >= *m_deadlineMs) {
        Lose(ELossReason::eSilent);
    }
}

void TPositionFeed::End()
{
    m_reader.Restart();
    m_validity.Restart();
    m_monitor.OnCounts(m_reader.Counts());
    Lose(ELossReason::eSourceEnded);
}

void TPositionFeed::OnSentence(const TNmeaSentence& sentence)
{
    if (sentence.kind == ESentenceKind::eVtg) {
        m_validity.TakeMotion(sentence, m_nowMs);
        return;
    }
    TReceivedFix fix;
    if (m_validity.Update(sentence, m_nowMs, fix)) {
        m_deadlineMs = m_nowMs + silenceMs;
        m_monitor.OnFix(fix);
    } else {
        Lose(ELossReason::eVoid);
    }
}

void TPositionFeed::Lose(ELossReason reason)
{
    m_deadlineMs.reset();
    m_monitor.OnNoFix(reason);
}

} // namespace console
