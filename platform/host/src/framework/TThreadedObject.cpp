// An object with a thread of its own: how it gets there and how it comes back.
#include "host/TThreadedObject.h"

#include "framework/HostLog.h"
#include "framework/TWatchedStarts.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QSemaphore>

#include <atomic>

namespace {

// Sees every event of the threaded object before the object does. As a child of the object it is
// always on the object's thread, which an event filter has to be.
//
// - A queued call that was still waiting when Finalize() ran would be delivered on the owner's
//   thread, to an object that is already closed down: it is dropped.
// - A deferred delete must not delete the object on its own thread, which could not be joined from
//   there: it ends the thread and is repeated on the owner's.
class TGate final : public QObject
{
public:
    explicit TGate(TThreadedObject* object) : QObject(object), m_object(object)
    {
        object->installEventFilter(this);
    }

    void Open() { m_isOnOwnThread = true; }
    void Close() { m_isClosed = true; }
    // Returns whether the object was to be deleted while it was on its own thread.
    bool GoHome()
    {
        m_isOnOwnThread = false;
        return m_isDeleteWanted;
    }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::DeferredDelete && m_isOnOwnThread) {
            m_isDeleteWanted = true;
            m_object->Stop();
            return true;
        }
        if (event->type() == QEvent::MetaCall && m_isClosed) {
            return true;
        }
        return QObject::eventFilter(watched, event);
    }

private:
    TThreadedObject* m_object;
    // Only the thread that the object is on touches these.
    bool m_isOnOwnThread = false;
    bool m_isClosed = false;
    bool m_isDeleteWanted = false;
};

} // namespace

class TThreadedObject::TRunner final : public QThread
{
public:
    explicit TRunner(TThreadedObject& object) : m_object(object), m_gate(new TGate(&object)) {}

    void Start(Priority priority);
    void Stop();
    void JoinFromDestructor();
    bool IsInitialised() const { return m_isInitialised; }
    bool HasEnded() const { return m_isFinalized; }

protected:
    void run() override;

private:
    void HandBack();

    TThreadedObject& m_object;
    TGate* m_gate; // child of m_object
    QThread* m_home = nullptr;
    std::shared_ptr<hostimpl::TWatchedStarts> m_watchedStarts; // null if no watch saw the start
    QSemaphore m_isUp;
    QSemaphore m_isHandedOver; // m_object is on this thread, and m_home is set
    std::atomic<bool> m_isStopRequested{false};
    std::atomic<bool> m_isInitialised{false};
    std::atomic<bool> m_isFinalized{false};
};

// The object is handed over only when the thread is there: from one that could not be started
// nobody could bring it back, and Qt wakes the thread with an event dispatcher that it must have by
// then.
void TThreadedObject::TRunner::Start(Priority priority)
{
    if (m_home != nullptr) {
        qCWarning(lcHost, "The thread %s was started twice.", qUtf8Printable(objectName()));
        return;
    }
    if (m_object.thread() != QThread::currentThread() || m_object.parent() != nullptr) {
        qCWarning(lcHost, "The thread %s must be started by its object's thread, without a parent.",
                  qUtf8Printable(objectName()));
        return;
    }
    m_home = QThread::currentThread();
    start(priority);
    if (!isRunning()) {
        return; // Qt has said why
    }
    if (m_isStopRequested) {
        requestInterruption();
        quit();
    }
    m_isUp.acquire();
    m_watchedStarts = hostimpl::TWatchedStarts::OfThisThread();
    if (m_watchedStarts) {
        m_watchedStarts->Add();
    }
    m_gate->Open();
    m_object.moveToThread(this);
    m_isHandedOver.release();
}

// Remembered, because QThread forgets what is requested before it runs.
void TThreadedObject::TRunner::Stop()
{
    m_isStopRequested = true;
    requestInterruption();
    quit();
}

void TThreadedObject::TRunner::JoinFromDestructor()
{
    if (!isRunning()) {
        QThread::wait();
        return;
    }
    if (!m_isFinalized) {
        qCWarning(lcHost, "The object of the thread %s is destroyed while the thread runs.",
                  qUtf8Printable(objectName()));
    }
    Stop();
    QThread::wait();
}

void TThreadedObject::TRunner::run()
{
    m_isUp.release();
    m_isHandedOver.acquire();
    m_object.Initialize();
    m_isInitialised = true;
    if (m_watchedStarts) {
        m_watchedStarts->Remove();
    }
    exec(); // returns at once if Stop() was first
    m_isInitialised = false;
    m_object.Finalize();
    HandBack();
}

void TThreadedObject::TRunner::HandBack()
{
    m_gate->Close();
    QCoreApplication::removePostedEvents(&m_object, QEvent::MetaCall);
    // What Finalize() left to be deleted later is deleted here, where it lived.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const bool isDeleteWanted = m_gate->GoHome();
    m_isFinalized = true;
    TThreadedObject* const object = &m_object;
    if (isDeleteWanted) {
        object->deleteLater(); // goes with the object; from there on it may be gone at any time
    }
    object->moveToThread(m_home);
}

TThreadedObject::TThreadedObject(const QString& threadName)
    : m_runner(std::make_unique<TRunner>(*this))
{
    m_runner->setObjectName(threadName);
}

TThreadedObject::~TThreadedObject()
{
    m_runner->JoinFromDestructor();
}

void TThreadedObject::start(QThread::Priority priority)
{
    m_runner->Start(priority);
}

void TThreadedObject::Stop()
{
    m_runner->Stop();
}

void TThreadedObject::wait()
{
    m_runner->wait();
}

bool TThreadedObject::isRunning()
{
    return m_runner->isRunning();
}

bool TThreadedObject::IsInitialised()
{
    return m_runner->IsInitialised();
}

void TThreadedObject::MoveToThisThread(QObject* object)
{
    if (m_runner->HasEnded()) {
        qCWarning(lcHost, "The thread %s has ended: nothing can be moved to it.",
                  qUtf8Printable(m_runner->objectName()));
        return;
    }
    object->moveToThread(m_runner.get());
}

void TThreadedObject::Initialize() {}

void TThreadedObject::Finalize() {}
