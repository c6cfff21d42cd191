// A worker on its own thread, as the root object runs it.
#pragma once

#include "tests/worker/TWorkerFixture.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QThread>

// The same surroundings as TWorkerFixture's; the hub lives on the test's thread.
class TRunningWorker : public TWorkerFixture
{
public:
    ~TRunningWorker() { End(); }

    // Returns when the worker has initialised itself; false if it did not within the hang guard.
    bool Run()
    {
        Make();
        worker->start(QThread::LowestPriority);
        QElapsedTimer elapsed;
        elapsed.start();
        while (!worker->IsInitialised()) {
            if (elapsed.elapsed() > 30000)
                return false;
            QThread::yieldCurrentThread();
        }
        return true;
    }

    // Logs in through the hub and waits until the post-login checks and what follows them are
    // through.
    bool LogIn()
    {
        hub->OnLoginToKelvoRequested();
        return hubLog.WaitFor(QStringLiteral("NewKelvoProjectFilesList"), 6);
    }

    void End()
    {
        if (!worker)
            return;
        worker->Stop();
        worker->wait();
        worker.reset();
    }
};
