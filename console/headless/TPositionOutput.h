// Prints the changes that the position monitor reports.
#pragma once

#include "console/headless/PositionPrinter.h"
#include "console/position/TPositionMonitor.h"

#include <QtCore/QByteArray>
#include <QtCore/QObject>

#include <atomic>
#include <functional>

namespace console {

// Prints on its own thread, so that a source never waits for a slow reader of the output. At most
// maxPending lines of fixes are queued; further fixes are dropped. At 2 * maxPending queued lines
// every change is dropped. Later lines still hold the numbers of gains and losses.
//
// Thread: the thread that constructs it, which must run an event loop. Ownership: the monitor and
// the objects that `print` uses must outlive it. The source must end before the destructor runs.
class TPositionOutput : public QObject
{
public:
    using TPrint = std::function<void(const QByteArray& line)>;

    static constexpr int maxPending =
        4096; // minutes of the fastest receivers, less than a megabyte

    TPositionOutput(const TPositionMonitor& monitor, EShownPositions shown, TPrint print);

private:
    void OnChanged(const TPositionEvent& event); // on the source's thread

    const EShownPositions m_shown;
    const TPrint m_print;
    std::atomic<int> m_pending{0};
};

} // namespace console
