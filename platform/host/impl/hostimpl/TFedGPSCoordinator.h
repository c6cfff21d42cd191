// The GPS coordinator with the functions that a position source calls.
#pragma once

#include "host/TGPSCoordinator.h"

#include <QtCore/QVector>

namespace hostimpl {

// Feed(), Lose() and AnnounceFix() may be called from any thread, also from a slot that is directly
// connected to GPSLost. GPSLost is emitted without a lock, in the order of the changes, by one
// thread at a time. If another thread is emitting GPSLost, the three functions return at once and
// that thread emits the new signal too. A slot may therefore find a newer state in HasFix().
class CONSOLEHOST_EXPORT TFedGPSCoordinator : public TGPSCoordinator
{
    Q_OBJECT

public:
    explicit TFedGPSCoordinator(QObject* parent = nullptr);
    ~TFedGPSCoordinator() override;

    // A usable position. Emits GPSLost(false) if there was none before. A fix that is no place on
    // Earth or no time of day is ignored, and false is returned.
    bool Feed(const TGPSFix& fix);
    // No usable position any more. Emits GPSLost(true) if there was one. The last fix stays
    // readable.
    void Lose();
    // Emits GPSLost(false) once more if there is a usable position.
    void AnnounceFix();
    bool HasFix() const;

private:
    void EmitPendingSignals();

    mutable QMutex m_stateMutex; // guards m_hasFix, m_pendingSignals and m_isEmitting
    bool m_hasFix = false;
    QVector<bool> m_pendingSignals; // the arguments of the signals that are still to be emitted
    bool m_isEmitting = false;      // a thread is emitting the signals from m_pendingSignals
};

} // namespace hostimpl
