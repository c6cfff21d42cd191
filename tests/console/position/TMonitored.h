// A coordinator, a monitor, and their reports.
#pragma once

#include "console/position/TFakeTime.h"
#include "console/position/TPositionMonitor.h"
#include "hostimpl/TFedGPSCoordinator.h"

#include <QtCore/QVector>

#include <vector>

namespace kelvo::test {

// For sources on the thread of the test.
struct TMonitored
{
    TMonitored()
    {
        QObject::connect(&coordinator, &TGPSCoordinator::GPSLost,
                         [this](bool isLost) { gpsLost.push_back(isLost); });
        QObject::connect(&monitor, &console::TPositionMonitor::Changed,
                         [this](const console::TPositionEvent& event) { events.push_back(event); });
    }

    // Every reported fix, in order.
    QVector<console::TReceivedFix> Fixes() const
    {
        QVector<console::TReceivedFix> fixes;
        for (const console::TPositionEvent& event : events) {
            if (event.change == console::TPositionEvent::EChange::eFix ||
                event.change == console::TPositionEvent::EChange::eGained) {
                fixes << event.state.fix;
            }
        }
        return fixes;
    }

    TFakeTime time;
    hostimpl::TFedGPSCoordinator coordinator;
    console::TPositionMonitor monitor{coordinator, time};
    std::vector<bool> gpsLost; // every GPSLost, in order
    std::vector<console::TPositionEvent> events;
};

} // namespace kelvo::test
