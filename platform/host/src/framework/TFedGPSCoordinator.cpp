// The GPS coordinator as a position source feeds it.
#include "hostimpl/TFedGPSCoordinator.h"

#include <QtCore/QMetaMethod>
#include <QtCore/QThread>

#include <cmath>

namespace {

bool IsPlausible(const TGPSFix& fix)
{
    return std::isfinite(fix.latitudeDegrees) && std::abs(fix.latitudeDegrees) <= 90.0 &&
           std::isfinite(fix.longitudeDegrees) && std::abs(fix.longitudeDegrees) <= 180.0 &&
           fix.utcTime >= 0.0 && fix.utcTime < 240000.0;
}

} // namespace

namespace hostimpl {

TFedGPSCoordinator::TFedGPSCoordinator(QObject* parent) : TGPSCoordinator(parent) {}

TFedGPSCoordinator::~TFedGPSCoordinator() = default;

bool TFedGPSCoordinator::Feed(const TGPSFix& fix)
{
    if (!IsPlausible(fix)) {
        return false;
    }
    const QMutexLocker lock(&m_stateMutex);
    SetCurrentFix(fix);
    if (!m_hasFix) {
        m_hasFix = true;
        Q_EMIT GPSLost(false);
    }
    return true;
}

void TFedGPSCoordinator::Lose()
{
    const QMutexLocker lock(&m_stateMutex);
    if (m_hasFix) {
        m_hasFix = false;
        Q_EMIT GPSLost(true);
    }
}

void TFedGPSCoordinator::AnnounceFix()
{
    const QMutexLocker lock(&m_stateMutex);
    if (m_hasFix) {
        Q_EMIT GPSLost(false);
    }
}

bool TFedGPSCoordinator::HasFix() const
{
    const QMutexLocker lock(&m_stateMutex);
    return m_hasFix;
}

// Called on the thread that connects. What is posted to an object there runs with its event loop.
void TFedGPSCoordinator::connectNotify(const QMetaMethod& signal)
{
    if (signal != QMetaMethod::fromSignal(&TGPSCoordinator::GPSLost) ||
        QThread::currentThread() == thread()) {
        return;
    }
    auto* const probe = new QObject;
    // Also when the thread ends before its loop runs.
    connect(QThread::currentThread(), &QThread::finished, probe, &QObject::deleteLater);
    QMetaObject::invokeMethod(
        probe,
        [this, probe] {
            NoteReadyListener();
            probe->deleteLater();
        },
        Qt::QueuedConnection);
}

// Told on the coordinator's own thread: whoever waits there may connect while a listener comes up.
void TFedGPSCoordinator::NoteReadyListener()
{
    QMetaObject::invokeMethod(
        this,
        [this] {
            ++m_readyListeners;
            Q_EMIT ListenerReady();
        },
        Qt::QueuedConnection);
}

} // namespace hostimpl
