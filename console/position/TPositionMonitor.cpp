#include "console/position/TPositionMonitor.h"

#include "hostimpl/TFedGPSCoordinator.h"

namespace console {

TPositionMonitor::TPositionMonitor(hostimpl::TFedGPSCoordinator& coordinator,
                                   const TSourceTime& time)
    : m_coordinator(coordinator), m_time(time)
{
    qRegisterMetaType<console::TPositionEvent>();
}

TPositionState TPositionMonitor::State() const
{
    const QMutexLocker lock(&m_mutex);
    return StateNow();
}

TPositionState TPositionMonitor::StateNow() const
{
    TPositionState state = m_state;
    if (state.fixes > 0) {
        state.ageMs = m_time.NowMs() - m_fixAtMs;
    }
    return state;
}

void TPositionMonitor::OnFix(const TReceivedFix& fix)
{
    if (!m_coordinator.Feed({fix.latitudeDegrees, fix.longitudeDegrees, fix.utcTime})) {
        return; // a fix that the coordinator refuses is not shown; the reader never passes such a
                // fix
    }
    TPositionEvent event;
    {
        const QMutexLocker lock(&m_mutex);
        event.change = TPositionEvent::EChange::eFix;
        if (m_state.state != EPositionState::eFix) {
            event.change = TPositionEvent::EChange::eGained;
            ++m_state.gained;
        }
        m_state.state = EPositionState::eFix;
        m_state.reason = ELossReason::eNone;
        m_state.fix = fix;
        ++m_state.fixes;
        m_fixAtMs = m_time.NowMs();
        event.state = StateNow();
    }
    Q_EMIT Changed(event);
}

void TPositionMonitor::OnNoFix(ELossReason reason)
{
    m_coordinator.Lose();
    TPositionEvent event;
    {
        const QMutexLocker lock(&m_mutex);
        if (m_state.state != EPositionState::eFix) {
            return;
        }
        m_state.state = EPositionState::eLost;
        m_state.reason = reason;
        ++m_state.lost;
        event.change = TPositionEvent::EChange::eLost;
        event.state = StateNow();
    }
    Q_EMIT Changed(event);
}

void TPositionMonitor::OnSource(ESourceState source)
{
    TPositionEvent event;
    {
        const QMutexLocker lock(&m_mutex);
        if (m_state.source == source) {
            return;
        }
        m_state.source = source;
        event.change = TPositionEvent::EChange::eSource;
        event.state = StateNow();
    }
    Q_EMIT Changed(event);
}

void TPositionMonitor::OnCounts(const TNmeaCounts& counts)
{
    const QMutexLocker lock(&m_mutex);
    m_state.counts = counts;
}

} // namespace console
