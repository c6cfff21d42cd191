// A worker with a position to share.
#pragma once

#include "tests/worker/SdkCalls.h"
#include "tests/worker/TWorkerFixture.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QTimer>
#include <QtCore/QTimerEvent>

// The coordinator has a fix from the start. The worker was not told of it: GPSLost comes only by
// Tell().
class TSharing : public TWorkerFixture
{
public:
    TSharing() { gps.Feed(FIX); }

    // Lets the SDK stand logged in while the hub does not count the session as logged in.
    void StartBehindTheHub()
    {
        Sdk().StartLoggedInAs(userId);
        Start(ESession::eLoggedOut);
    }
    // Logged in, sharing, and what led there is forgotten.
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
    // What the event loop does each minute.
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
