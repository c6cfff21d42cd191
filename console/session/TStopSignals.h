// Turns SIGINT and SIGTERM into a call on the main thread.
#pragma once

#include <QtCore/QObject>
#include <QtCore/QSocketNotifier>

#include <functional>

namespace console {

// One object in a process. The first signal is reported. The next signal of either kind ends the
// process at once, also while the main thread is blocked.
//
// Thread: main.
class TStopSignals : public QObject
{
    Q_OBJECT

public:
    explicit TStopSignals(std::function<void(int signalNumber)> onStop);
    ~TStopSignals() override;

private:
    void OnReadable();

    std::function<void(int)> m_onStop;
    int m_writeEnd = -1;
    int m_readEnd = -1;
    QSocketNotifier m_notifier;
};

} // namespace console
