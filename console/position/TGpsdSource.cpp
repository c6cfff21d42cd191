#include "console/position/TGpsdSource.h"

#include <QtNetwork/QNetworkProxy>

namespace console {

TGpsdSource::TGpsdSource(const QString& host, std::uint16_t port, TPositionMonitor& monitor,
                         TSourceTime& time)
    : TLiveSource(QStringLiteral("gpsd at %1, port %2").arg(host).arg(port), monitor, time),
      m_host(host),
      m_port(port)
{
    m_socket.setProxy(QNetworkProxy::NoProxy); // the daemon runs in the cab
    QObject::connect(&m_socket, &QTcpSocket::connected, [this] { OnConnected(); });
    QObject::connect(&m_socket, &QTcpSocket::readyRead, [this] { OnReadable(); });
    // The error signal comes also when the daemon closes the connection. The connection is queued:
    // a slot of a socket must not close the socket.
    QObject::connect(
        &m_socket, &QTcpSocket::errorOccurred, &m_socket,
        [this] {
            if (m_socket.state() == QAbstractSocket::UnconnectedState &&
                m_socket.error() != QAbstractSocket::UnknownSocketError) {
                OnFailed(m_socket.errorString());
            }
        },
        Qt::QueuedConnection);
}

TGpsdSource::~TGpsdSource()
{
    TGpsdSource::Close();
    End();
}

void TGpsdSource::Open()
{
    m_socket.connectToHost(m_host, m_port);
}

void TGpsdSource::Close()
{
    m_socket.abort();
}

void TGpsdSource::OnConnected()
{
    m_socket.write("?WATCH={\"enable\":true,\"nmea\":true};\r\n");
    OnOpened();
}

void TGpsdSource::OnReadable()
{
    const QByteArray bytes = m_socket.readAll();
    OnBytes({bytes.constData(), static_cast<std::size_t>(bytes.size())});
}

} // namespace console
