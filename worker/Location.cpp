// The worker's location sharing: the GPS receiver as a connected device, and one position a minute.
#include "core/TKelvoInterface.h"
#include "host/TGPSCoordinator.h"
#include "host/TLocalTime.h"
#include "kesdk/api/IEnterpriseConnection.h"
#include "worker/DeviceReport.h"
#include "worker/TKelvoThreadObject.h"

#include <QtCore/QTimer>

namespace {

// Seconds since 1970-01-01 00:00 UTC. The date comes from the console's clock and the time of day
// from the fix. A difference between the two is not corrected.
qint64 TimeStamp(double fixUtcTime)
{
    const int time = static_cast<int>(fixUtcTime); // hhmmss
    const qint64 hours = time / 10000;
    const qint64 minutes = (time / 100) % 100;
    const int seconds = time % 100;

    QDateTime midnight = TLocalTime::currentDateTime().toUTC();
    midnight.setTime(QTime(0, 0));
    return midnight.toSecsSinceEpoch() + hours * 3600 + minutes * 60 + seconds;
}

} // namespace

void TKelvoThreadObject::PrepareForLocationSharing()
{
    if (!m_gpsValid || !KelvoInterface->IsKelvoLoggedIn()) {
        return;
    }
    if (TestProcMeasDeviceInfoConnect(m_connection, *m_features)) {
        m_locationTimer->start();
        OnShareCurrentLocationWithKelvo();
    } else {
        DropLastErrors();
    }
}

// Removes the receiver from the service, even if sharing never started.
void TKelvoThreadObject::EndLocationSharing()
{
    m_locationTimer->stop();
    if (!TestProcMeasDeviceInfoDisconnect(m_connection, *m_features)) {
        DropLastErrors();
    }
}

void TKelvoThreadObject::OnGPSLost(bool isLost)
{
    m_gpsValid = !isLost;
    if (m_connection == nullptr) {
        return;
    }
    if (isLost) {
        EndLocationSharing();
        // Sends the last known position, after the report that the receiver is disconnected.
        OnShareCurrentLocationWithKelvo();
    } else {
        PrepareForLocationSharing();
    }
}

void TKelvoThreadObject::OnShareCurrentLocationWithKelvo()
{
    if (m_connection == nullptr || !m_connection->IsLoggedIn()) {
        return;
    }
    const TGPSFix fix = m_gpsCoordinator->GetCurrentFix();
    m_connection->ReportPosition({static_cast<std::int32_t>(TimeStamp(fix.utcTime)),
                                  fix.latitudeDegrees, fix.longitudeDegrees});
}
