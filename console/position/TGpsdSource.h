// Reads positions from a gpsd daemon.
#pragma once

#include "console/position/TLiveSource.h"

#include <QtCore/QString>
#include <QtNetwork/QTcpSocket>

#include <cstdint>

namespace console {

// Asks gpsd for the sentences of its receivers as they come, and reads them as those of a receiver
// of our own. A daemon with several receivers mixes them: give it one.
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
