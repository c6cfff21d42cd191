// A worker with a position for location sharing.
#pragma once

#include "tests/worker/SdkCalls.h"
#include "tests/worker/TWorkerFixture.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>
#include <QtCore/QTimerEvent>

// The coordinator has a fix from the start. The worker does not know that: only Tell() sends
// GPSLost.
class TSharing : public TWorkerFixture
{
public:
    TSharing() { gps.Feed(FIX); }

    // Makes the SDK logged in while the hub's logged-in flag is not set.
    void StartLoggedInAtTheSdkOnly()
    {
        Sdk().StartLoggedInAs(userId);
        Start(ESession::eLoggedOut);
    }
    // Logs in, starts sharing, and clears the recorded calls.
    void StartSharing()
    {
        Start(ESession::eLoggedIn);
        Tell(false);
        Script().ClearCalls();
    }

    void Tell(bool isLost) { Call("OnGPSLost", Q_ARG(bool, isLost)); }
    void Report() { Call("OnShareCurrentLocationWithKelvo"); }

    QTimer* Timer() const { return worker->findChild<QTimer*>(); }
    bool IsTimerRunning() const { return Timer()->isActive(); }
    // Runs the slot that the timer calls each minute.
    void LetAMinutePass()
    {
        QTimerEvent event(Timer()->timerId());
        QCoreApplication::sendEvent(Timer(), &event);
    }

    QStringList Calls() { return SdkCalls(Script()); }
    std::vector<kesdk::api::Position> Positions() { return Sdk().Live()->Positions(); }
    bool IsSilent() const { return workerLog.All().isEmpty() && hubLog.All().isEmpty(); }

    static constexpr TGPSFix FIX{52.25, -1.5, 123456.78};
};
