// A threaded object that records its calls and their threads.
#pragma once

#include "host/TThreadedObject.h"

#include <QtCore/QSemaphore>
#include <QtCore/QStringList>

#include <functional>

namespace kelvo::test {

// The records are read after wait().
class TThreadRecorder : public TThreadedObject
{
public:
    TThreadRecorder() : TThreadedObject(QStringLiteral("Recorder")) {}

    QStringList steps;
    QThread* initializeThread = nullptr;
    QThread* workThread = nullptr;
    QThread* finalizeThread = nullptr;
    QString threadName;
    bool wasInterruptedInFinalize = false;
    bool wasInitialisedInInitialize = true;
    bool wasInitialisedInFinalize = true;
    QSemaphore isInitialized;
    std::function<void()> inInitialize = [] {};
    std::function<void()> inFinalize = [] {};

    void Work()
    {
        steps.append(QStringLiteral("work"));
        workThread = QThread::currentThread();
    }

protected:
    void Initialize() override
    {
        steps.append(QStringLiteral("initialize"));
        initializeThread = QThread::currentThread();
        threadName = initializeThread->objectName();
        wasInitialisedInInitialize = IsInitialised();
        inInitialize();
        isInitialized.release();
    }
    void Finalize() override
    {
        steps.append(QStringLiteral("finalize"));
        finalizeThread = QThread::currentThread();
        wasInterruptedInFinalize = finalizeThread->isInterruptionRequested();
        wasInitialisedInFinalize = IsInitialised();
        inFinalize();
    }
};

const QStringList wholeLife = {QStringLiteral("initialize"), QStringLiteral("finalize")};

} // namespace kelvo::test
