// The GPS coordinator as a position source feeds it.
#pragma once

#include "host/TGPSCoordinator.h"

#include <atomic>

namespace hostimpl {

// Feed(), Lose() and AnnounceFix() may be called from any thread, also from a slot that is directly
// connected to GPSLost. The signal comes in the order in which the fix changed, whoever changed it.
class CONSOLEHOST_EXPORT TFedGPSCoordinator : public TGPSCoordinator
{
    Q_OBJECT

public:
    explicit TFedGPSCoordinator(QObject* parent = nullptr);
    ~TFedGPSCoordinator() override;

    // A usable position. Emits GPSLost(false) if there was none before. What is no place on Earth
    // or no time of day is ignored and false is returned.
    bool Feed(const TGPSFix& fix);
    // No usable position any more. Emits GPSLost(true) if there was one; the fix stays readable.
    void Lose();
    // Emits GPSLost(false) once more if there is a usable position.
    void AnnounceFix();
    bool HasFix() const;

    // How many listeners on threads of their own have come up so far: they have connected GPSLost,
    // and their event loop runs. A component connects it as it starts, so this tells when the
    // component has made all its connections. Grows while the coordinator's thread handles events;
    // to be read from any thread.
    int ReadyListeners() const { return m_readyListeners; }

Q_SIGNALS:
    // Emitted on the coordinator's thread, each time that ReadyListeners() grows.
    void ListenerReady();

protected:
    void connectNotify(const QMetaMethod& signal) override;

private:
    void NoteReadyListener();

    // Held while the signal is emitted: two sources' signals cannot overtake each other.
    mutable QRecursiveMutex m_stateMutex; // guards m_hasFix
    bool m_hasFix = false;
    std::atomic<int> m_readyListeners{0};
};

} // namespace hostimpl
