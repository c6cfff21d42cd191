// Base of an object that has its own thread.
#pragma once

#include "host/HostExport.h"

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QThread>

#include <memory>

// An object whose slots run on its own thread.
//
// Life: constructed on the owner's thread → start() moves the object to its own thread, where
// Initialize() runs first → slots run in the thread's event loop → Stop() ends the loop →
// Finalize() runs last, then the object moves back to the thread that called start(), and its own
// thread ends → wait() returns. If Stop() is called before the event loop runs, Initialize() and
// Finalize() still run.
//
// Ownership: the creator owns the object and deletes it on the owner's thread, after wait().
// The order of the virtual functions is part of the contract.
class CONSOLEHOST_EXPORT TThreadedObject : public QObject
{
    Q_OBJECT

public:
    explicit TThreadedObject(const QString& threadName);
    // Stops and joins a thread that still runs. At this time a derived class's Finalize() cannot be
    // called any more; therefore call Stop() and wait() first.
    ~TThreadedObject() override;

    // Starts the thread and returns; Initialize() runs later. Call it once only.
    virtual void start(QThread::Priority priority);
    // Requests the thread's interruption and the end of its event loop, and returns at once. From
    // any thread.
    virtual void Stop();
    // Blocks until the thread has ended. Returns at once if the thread never started. Not to be
    // called on the object's thread.
    virtual void wait();
    virtual bool isRunning();
    // True from the return of Initialize() until the start of Finalize(). From any thread.
    virtual bool IsInitialised();
    // Moves an object from the calling thread to this object's thread. The object has no parent.
    virtual void MoveToThisThread(QObject* object);

protected:
    virtual void Initialize();
    virtual void Finalize();

private:
    class TRunner;
    std::unique_ptr<TRunner> m_runner;
};
