// Reads positions from a receiver at a serial port.
#pragma once

#include "console/position/TLiveSource.h"

#include <QtCore/QSocketNotifier>
#include <QtCore/QString>

#include <memory>

namespace console {

// The device may disappear and return, as USB devices do.
class TSerialSource : public TLiveSource
{
public:
    TSerialSource(const QString& device, int baud, TPositionMonitor& monitor, TSourceTime& time);
    ~TSerialSource() override;

private:
    void Open() override;
    void Close() override;
    void OnReadable();

    const QString m_device;
    const int m_baud;
    int m_descriptor = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace console
