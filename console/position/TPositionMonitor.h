// The console's one account of its position.
#pragma once

#include "console/position/PositionState.h"
#include "console/position/SourceTime.h"

#include <QtCore/QMutex>
#include <QtCore/QObject>

namespace hostimpl {
class TFedGPSCoordinator;
}

namespace console {

// Between a source and those who show the position: hands fixes on to the coordinator, counts the
// changes of state, and knows the age of the last fix.
//
// Thread: lives on the main thread. State() is for any thread, the On... functions are for the
// source's, one source at a time. Changed comes on the source's thread. Ownership: coordinator and
// time are the caller's and must outlive it.
class TPositionMonitor : public QObject
{
    Q_OBJECT

public:
    TPositionMonitor(hostimpl::TFedGPSCoordinator& coordinator, const TSourceTime& time);

    TPositionState State() const;

    void OnFix(const TReceivedFix& fix);
    // Nothing happens if there is no fix.
    void OnNoFix(ELossReason reason);
    void OnSource(ESourceState source);
    void OnCounts(const TNmeaCounts& counts);

Q_SIGNALS:
    // A first or regained fix is told as eGained, one that follows as eFix.
    void Changed(console::TPositionEvent event);

private:
    TPositionState StateNow() const;

    hostimpl::TFedGPSCoordinator& m_coordinator;
    const TSourceTime& m_time;
    mutable QMutex m_mutex; // guards what follows
    TPositionState m_state; // but for the age
    std::int64_t m_fixAtMs = 0;
};

} // namespace console
