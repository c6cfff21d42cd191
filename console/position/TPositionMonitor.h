// Holds the console's position for the coordinator, the window and the output.
#pragma once

#include "console/position/PositionState.h"
#include "console/position/SourceTime.h"

#include <QtCore/QMutex>
#include <QtCore/QObject>

namespace hostimpl {
class TFedGPSCoordinator;
}

namespace console {

// Takes fixes from a source, passes them to the coordinator, counts the changes of state, and
// computes the age of the last fix.
//
// Thread: lives on the main thread. State() may be called from any thread. The On... functions are
// called on the thread of the source, by one source at a time; Changed is emitted there. Ownership:
// the caller owns the coordinator and the time, which must outlive the monitor.
class TPositionMonitor : public QObject
{
    Q_OBJECT

public:
    TPositionMonitor(hostimpl::TFedGPSCoordinator& coordinator, const TSourceTime& time);

    TPositionState State() const;

    void OnFix(const TReceivedFix& fix);
    // Does nothing if there is no fix.
    void OnNoFix(ELossReason reason);
    void OnSource(ESourceState source);
    void OnCounts(const TNmeaCounts& counts);

Q_SIGNALS:
    // The first fix and a fix after a loss are eGained; a fix after a fix is eFix.
    void Changed(console::TPositionEvent event);

private:
    TPositionState StateNow() const;

    hostimpl::TFedGPSCoordinator& m_coordinator;
    const TSourceTime& m_time;
    mutable QMutex m_mutex; // guards what follows
    TPositionState m_state; // its age is not kept here
    std::int64_t m_fixAtMs = 0;
};

} // namespace console
