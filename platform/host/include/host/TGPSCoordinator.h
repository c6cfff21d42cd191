// Where the vehicle is, as the console's receiver last said.
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

// Lives on the main thread; its fix is set by a source on a thread of that source's own and read
// from any thread.
class CONSOLEHOST_EXPORT TGPSCoordinator : public QObject
{
    Q_OBJECT

public:
    explicit TGPSCoordinator(QObject* parent = nullptr);
    ~TGPSCoordinator() override;

    // The three values of one and the same fix. Stays the last one known when the fix is lost.
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
