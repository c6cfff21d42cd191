// Prints what the position monitor tells.
#pragma once

#include "console/headless/PositionPrinter.h"
#include "console/position/TPositionMonitor.h"

#include <QtCore/QByteArray>
#include <QtCore/QObject>

#include <atomic>
#include <functional>

namespace console {

// On its own thread, as a source must not wait for who reads our output. If nobody does, up to
// maxPending lines wait; then fixes are dropped, and behind twice as many everything: later lines
// hold the number of gains and losses.
//
// Thread: the one that makes it, which runs an event loop. Ownership: monitor and what `print`
// needs must outlive it; the source must have ended before it does.
class TPositionOutput : public QObject
{
public:
    using TPrint = std::function<void(const QByteArray& line)>;

    static constexpr int maxPending =
        4096; // minutes of the quickest receivers, less than a megabyte

    TPositionOutput(const TPositionMonitor& monitor, EShownPositions shown, TPrint print);

private:
    void OnChanged(const TPositionEvent& event); // on the source's thread

    const EShownPositions m_shown;
    const TPrint m_print;
    std::atomic<int> m_pending{0};
};

} // namespace console
