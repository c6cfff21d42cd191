// Base of an object that runs on a thread of its own.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QThread>

#include <memory>

// An object with a thread, which its slots run on.
//
// Life: constructed on the owner's thread → start() moves it to its own thread, where Initialize()
// runs first → slots run in the thread's event loop → Stop() ends the loop → Finalize() runs last,
// then the object goes back to the thread that called start() and its thread ends → wait() returns.
// A Stop() that comes before the event loop runs still lets Initialize() and Finalize() run.
//
// Ownership: owned by whoever constructed it; delete it on the owner's thread, after wait().
// Slot order is part of the contract.
class CONSOLEHOST_EXPORT TThreadedObject : public QObject
{
    Q_OBJECT

public:
    explicit TThreadedObject(const QString& threadName);
    // Stops and joins a thread that still runs; by then Finalize() of a derived class is gone, so
    // rely on Stop() and wait() instead.
    ~TThreadedObject() override;

    // Starts the thread and returns; Initialize() runs later. Once a life.
    virtual void start(QThread::Priority priority);
    // Requests the thread's interruption and the end of its event loop; returns at once. From any
    // thread.
    virtual void Stop();
    // Blocks until the thread has ended, at once if it never started. Not on the object's thread.
    virtual void wait();
    virtual bool isRunning();
    // Whether Initialize() has returned and Finalize() has not begun. From any thread.
    virtual bool IsInitialised();
    // Moves a parentless object of the calling thread to this object's thread.
    virtual void MoveToThisThread(QObject* object);

protected:
    virtual void Initialize();
    virtual void Finalize();

private:
    class TRunner;
    std::unique_ptr<TRunner> m_runner;
};
