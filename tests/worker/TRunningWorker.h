// A worker on KelvoThread, as the root object runs it.
#pragma once

#include "tests/worker/TWorkerFixture.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QThread>

// The set-up is the same as in TWorkerFixture. The hub lives on the test's thread.
class TRunningWorker : public TWorkerFixture
{
public:
    ~TRunningWorker() { End(); }

    // Returns true when the worker has initialised itself, false after the hang guard.
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

    // Logs in through the hub and waits for the end of the post-login checks and of the listings.
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
