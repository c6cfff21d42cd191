#include "console/headless/TPositionOutput.h"

#include <utility>

namespace console {

TPositionOutput::TPositionOutput(const TPositionMonitor& monitor, EShownPositions shown,
                                 TPrint print)
    : m_shown(shown), m_print(std::move(print))
{
    if (shown != EShownPositions::eNone) {
        connect(
            &monitor, &TPositionMonitor::Changed, this,
            [this](const TPositionEvent& event) { OnChanged(event); }, Qt::DirectConnection);
    }
}

void TPositionOutput::OnChanged(const TPositionEvent& event)
{
    const bool isFix = event.change == TPositionEvent::EChange::eFix;
    if (!IsShown(event, m_shown) || m_pending >= (isFix ? maxPending : 2 * maxPending)) {
        return;
    }
    ++m_pending;
    QMetaObject::invokeMethod(
        this,
        [this, event] {
            --m_pending;
            m_print(PositionLine(event));
        },
        Qt::QueuedConnection);
}

} // namespace console
