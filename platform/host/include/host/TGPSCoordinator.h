// The vehicle's last known position.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QMutex>
#include <QtCore/QObject>

// A position and the time of the fix it belongs to.
struct TGPSFix
{
    double latitudeDegrees = 0.0;
    double longitudeDegrees = 0.0;
    double utcTime = 0.0; // time of day as hhmmss.ss, as receivers report it
};

// Lives on the main thread. A position source sets the fix on its own thread. Any thread may read
// the fix.
class CONSOLEHOST_EXPORT TGPSCoordinator : public QObject
{
    Q_OBJECT

public:
    explicit TGPSCoordinator(QObject* parent = nullptr);
    ~TGPSCoordinator() override;

    // The three values belong to the same fix. After the fix is lost, the last fix is returned.
    TGPSFix GetCurrentFix() const;

Q_SIGNALS:
    // Emitted when a usable position is lost (true) or regained (false): by any thread, without a
    // lock, in the order of the changes.
    void GPSLost(bool isLost);

protected:
    void SetCurrentFix(const TGPSFix& fix);

private:
    mutable QMutex m_mutex; // guards m_fix
    TGPSFix m_fix;
};
