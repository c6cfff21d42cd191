// Moves an object to its own thread and back.
#include "host/TThreadedObject.h"

#include "framework/HostLog.h"
#include "framework/TWatchedStarts.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEvent>
#include <QtCore/QSemaphore>

#include <atomic>

namespace {

// Filters the events of the threaded object. An event filter must live on the object's thread. The
// gate is a child of the object, so it moves with it.
//
// - A queued call that is still waiting after Finalize() would run on the owner's thread, on an
//   object that is already closed. The gate drops such a call.
// - A deferred delete must not delete the object on its own thread, because a thread cannot join
//   itself. The gate stops the thread instead, and the delete is repeated on the owner's thread.
class TGate final : public QObject
{
public:
    explicit TGate(TThreadedObject* object) : QObject(object), m_object(object)
    {
        object->installEventFilter(this);
    }

    void Open() { m_isOnOwnThread = true; }
    void Close() { m_isClosed = true; }
    // Returns true if a deferred delete arrived while the object was on its own thread.
    bool LeaveOwnThread()
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
    // Only the object's current thread uses these members.
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
    QThread* m_ownerThread = nullptr;
    std::shared_ptr<hostimpl::TWatchedStarts> m_watchedStarts; // null if no watch saw the start
    QSemaphore m_hasStarted;
    QSemaphore m_isHandedOver; // m_object is on this thread, and m_ownerThread is set
    std::atomic<bool> m_isStopRequested{false};
    std::atomic<bool> m_isInitialised{false};
    std::atomic<bool> m_isFinalized{false};
};

// The object is handed over only after the thread has started, for two reasons. If the thread
// cannot be started, the object could not be moved back. And moveToThread() wakes the thread
// through its event dispatcher, which exists only after the start.
void TThreadedObject::TRunner::Start(Priority priority)
{
    if (m_ownerThread != nullptr) {
        qCWarning(lcHost, "The thread %s was started twice.", qUtf8Printable(objectName()));
        return;
    }
    if (m_object.thread() != QThread::currentThread() || m_object.parent() != nullptr) {
        qCWarning(lcHost,
                  "The thread %s was not started: its object has a parent, or lives on "
                  "another thread than the caller's.",
                  qUtf8Printable(objectName()));
        return;
    }
    m_ownerThread = QThread::currentThread();
    start(priority);
    if (!isRunning()) {
        return; // Qt has logged the reason
    }
    if (m_isStopRequested) {
        requestInterruption();
        quit();
    }
    m_hasStarted.acquire();
    m_watchedStarts = hostimpl::TWatchedStarts::OfThisThread();
    if (m_watchedStarts) {
        m_watchedStarts->Add();
    }
    m_gate->Open();
    m_object.moveToThread(this);
    m_isHandedOver.release();
}

// m_isStopRequested is needed because QThread forgets a request that comes before it runs.
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
    m_hasStarted.release();
    m_isHandedOver.acquire();
    m_object.Initialize();
    m_isInitialised = true;
    if (m_watchedStarts) {
        m_watchedStarts->Remove();
    }
    exec(); // returns at once if Stop() was called before
    m_isInitialised = false;
    m_object.Finalize();
    HandBack();
}

void TThreadedObject::TRunner::HandBack()
{
    m_gate->Close();
    QCoreApplication::removePostedEvents(&m_object, QEvent::MetaCall);
    // Objects for which Finalize() called deleteLater() are deleted here, on their own thread.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const bool isDeleteWanted = m_gate->LeaveOwnThread();
    m_isFinalized = true;
    TThreadedObject* const object = &m_object;
    if (isDeleteWanted) {
        object->deleteLater(); // the event moves with the object; after the move the object may be
                               // deleted at any time
    }
    object->moveToThread(m_ownerThread);
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
        qCWarning(lcHost, "The thread %s has ended: objects cannot be moved to it.",
                  qUtf8Printable(m_runner->objectName()));
        return;
    }
    object->moveToThread(m_runner.get());
}

void TThreadedObject::Initialize() {}

void TThreadedObject::Finalize() {}
