#include "hostimpl/TFedGPSCoordinator.h"

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
    {
        const QMutexLocker lock(&m_stateMutex);
        SetCurrentFix(fix);
        if (m_hasFix) {
            return true;
        }
        m_hasFix = true;
        m_pendingSignals.append(false);
    }
    EmitPendingSignals();
    return true;
}

void TFedGPSCoordinator::Lose()
{
    {
        const QMutexLocker lock(&m_stateMutex);
        if (!m_hasFix) {
            return;
        }
        m_hasFix = false;
        m_pendingSignals.append(true);
    }
    EmitPendingSignals();
}

void TFedGPSCoordinator::AnnounceFix()
{
    {
        const QMutexLocker lock(&m_stateMutex);
        // With a fix, the last pending signal already announces the fix.
        if (!m_hasFix || !m_pendingSignals.isEmpty()) {
            return;
        }
        m_pendingSignals.append(false);
    }
    EmitPendingSignals();
}

// Emits without the lock: a directly connected slot may wait for a thread that uses the
// coordinator. Two things keep the order of the changes. A change and its place in the queue are
// made under one lock. Only one thread at a time takes signals from the queue.
void TFedGPSCoordinator::EmitPendingSignals()
{
    QMutexLocker lock(&m_stateMutex);
    if (m_isEmitting) {
        return; // the emitting thread takes the new signal from the queue
    }
    m_isEmitting = true;
    while (!m_pendingSignals.isEmpty()) {
        const bool isLost = m_pendingSignals.takeFirst();
        lock.unlock();
        Q_EMIT GPSLost(isLost);
        lock.relock();
    }
    m_isEmitting = false;
}

bool TFedGPSCoordinator::HasFix() const
{
    const QMutexLocker lock(&m_stateMutex);
    return m_hasFix;
}

} // namespace hostimpl
