// Reads positions from a gpsd daemon.
#pragma once

#include "console/position/TLiveSource.h"

#include <QtCore/QString>
#include <QtNetwork/QTcpSocket>

#include <cstdint>

namespace console {

// Asks gpsd for the NMEA sentences of its receivers. A daemon with several receivers mixes their
// sentences, so the daemon must have one receiver only.
class TGpsdSource : public TLiveSource
{
public:
    TGpsdSource(const QString& host, std::uint16_t port, TPositionMonitor& monitor,
                TSourceTime& time);
    ~TGpsdSource() override;

private:
    void Open() override;
    void Close() override;
    void OnConnected();
    void OnReadable();

    const QString m_host;
    const std::uint16_t m_port;
    QTcpSocket m_socket;
};

} // namespace console
