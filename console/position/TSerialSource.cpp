#include "console/position/TSerialSource.h"

#include "console/position/SerialPort.h"

#include <array>
#include <cerrno>

#include <unistd.h>

namespace console {

TSerialSource::TSerialSource(const QString& device, int baud, TPositionMonitor& monitor,
                             TSourceTime& time)
    : TLiveSource(QStringLiteral("Receiver at %1").arg(device), monitor, time),
      m_device(device),
      m_baud(baud)
{}

TSerialSource::~TSerialSource()
{
    TSerialSource::Close();
    End();
}

void TSerialSource::Open()
{
    QString errorText;
    m_descriptor = OpenSerialPort(m_device, m_baud, errorText);
    if (m_descriptor < 0) {
        OnFailed(errorText);
        return;
    }
    m_notifier = std::make_unique<QSocketNotifier>(m_descriptor, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, [this] { OnReadable(); });
    OnOpened();
}

void TSerialSource::Close()
{
    if (m_notifier) {
        m_notifier->setEnabled(false); // not deleted: this call may come from the notifier
    }
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}

void TSerialSource::OnReadable()
{
    std::array<char, 4096> buffer;
    const ssize_t count = ::read(m_descriptor, buffer.data(), buffer.size());
    if (count > 0) {
        OnBytes({buffer.data(), static_cast<std::size_t>(count)});
    } else if (count == 0) {
        OnFailed(QStringLiteral("it was unplugged"));
    } else if (errno != EINTR && errno != EAGAIN) {
        OnFailed(qt_error_string(errno));
    }
}

} // namespace console
