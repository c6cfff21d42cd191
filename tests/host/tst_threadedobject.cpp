// TThreadedObject: what runs where and in which order, whenever it is stopped.
#include "host/TThreadedObject.h"

#include "support/TestMain.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QPointer>
#include <QtCore/QSemaphore>
#include <QtCore/QTimer>
#include <QtTest/QSignalSpy>

#include <atomic>
#include <memory>

namespace {

// Notes what happens to it. The notes are read after wait().
class TRecorder : public TThreadedObject
{
    Q_OBJECT

public:
    TRecorder() : TThreadedObject(QStringLiteral("Recorder")) {}

    QStringList steps;
    QThread* initializeThread = nullptr;
    QThread* finalizeThread = nullptr;
    QString threadName;
    bool wasInterruptedInFinalize = false;
    bool wasInitialisedInInitialize = true;
    bool wasInitialisedInFinalize = true;
    QSemaphore isInitialized;
    std::function<void()> inInitialize = [] {};
    std::function<void()> inFinalize = [] {};

public Q_SLOTS:
    void Work()
    {
        steps.append(QStringLiteral("work"));
        wasOnOwnThread = wasOnOwnThread && QThread::currentThread() == initializeThread;
    }

public:
    bool wasOnOwnThread = true;

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

} // namespace

class tst_ThreadedObject : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void runsInitializeAndFinalizeOnItsThread();
    void runsSlotsOnItsThread();
    void comesBackToItsOwner();
    void isInitialisedBetweenTheTwo();
    void stopRequestsInterruption();
    void stopMayComeBeforeTheLoop();
    void stopMayComeFromInitialize();
    void stopMayComeBeforeStart();
    void stopRacesWithStart();
    void stopMayComeTwice();
    void waitWithoutStartReturnsAtOnce();
    void waitReturnsAfterFinalize();
    void mayBeDestroyedWithoutStart();
    void startsOnce();
    void startsFromItsOwnThreadOnly();
    void dropsQueuedCallsThatAreLeft();
    void releasesABlockedCaller();
    void runsDeferredDeletesBeforeItEnds();
    void deletesItselfOnItsOwnersThread();
    void takesInObjects();
    void takesInNothingAfterItsEnd();
    void runsTimers();
};

void tst_ThreadedObject::runsInitializeAndFinalizeOnItsThread()
{
    TRecorder object;
    object.start(QThread::LowPriority);
    object.Stop();
    object.wait();
    QCOMPARE(object.steps, wholeLife);
    QVERIFY(object.initializeThread != QThread::currentThread());
    QCOMPARE(object.finalizeThread, object.initializeThread);
    QCOMPARE(object.threadName, QStringLiteral("Recorder"));
}

void tst_ThreadedObject::runsSlotsOnItsThread()
{
    TRecorder object;
    QTimer sender; // any object with a signal
    connect(&sender, &QObject::objectNameChanged, &object, &TRecorder::Work);
    sender.setObjectName(QStringLiteral("direct: it has not started"));
    object.steps.clear();
    QMetaObject::invokeMethod(&object, &TRecorder::Work, Qt::QueuedConnection);
    object.start(QThread::InheritPriority);
    sender.setObjectName(QStringLiteral("queued"));
    object.isInitialized.acquire();
    QMetaObject::invokeMethod(&object, &TRecorder::Work, Qt::BlockingQueuedConnection);
    object.Stop();
    object.wait();
    QCOMPARE(object.steps, QStringList({QStringLiteral("initialize"), QStringLiteral("work"),
                                        QStringLiteral("work"), QStringLiteral("work"),
                                        QStringLiteral("finalize")}));
}

void tst_ThreadedObject::comesBackToItsOwner()
{
    TRecorder object;
    object.inInitialize = [&object] { new QObject(&object); };
    object.start(QThread::InheritPriority);
    QVERIFY(object.thread() != QThread::currentThread());
    object.Stop();
    object.wait();
    QCOMPARE(object.thread(), QThread::currentThread());
    for (const QObject* const child : object.children()) {
        QCOMPARE(child->thread(), QThread::currentThread());
    }
    QVERIFY(!object.isRunning());
}

void tst_ThreadedObject::isInitialisedBetweenTheTwo()
{
    TRecorder object;
    QVERIFY(!object.IsInitialised());
    object.start(QThread::InheritPriority);
    QVERIFY(object.isRunning());
    object.isInitialized.acquire();
    bool isInitialised = false;
    QMetaObject::invokeMethod(
        &object, [&] { isInitialised = object.IsInitialised(); }, Qt::BlockingQueuedConnection);
    QVERIFY(isInitialised);
    object.Stop();
    object.wait();
    QVERIFY(!object.IsInitialised());
    QVERIFY(!object.wasInitialisedInInitialize);
    QVERIFY(!object.wasInitialisedInFinalize);
}

void tst_ThreadedObject::stopRequestsInterruption()
{
    TRecorder object;
    bool wasInterruptedBefore = true;
    object.inInitialize = [&wasInterruptedBefore] {
        wasInterruptedBefore = QThread::currentThread()->isInterruptionRequested();
    };
    object.start(QThread::InheritPriority);
    object.isInitialized.acquire();
    // A long operation that asks, as the worker's transfers do.
    QMetaObject::invokeMethod(
        &object,
        [] {
            while (!QThread::currentThread()->isInterruptionRequested()) {
                QThread::yieldCurrentThread();
            }
        },
        Qt::QueuedConnection);
    object.Stop();
    object.wait();
    QVERIFY(!wasInterruptedBefore);
    QVERIFY(object.wasInterruptedInFinalize);
}

void tst_ThreadedObject::stopMayComeBeforeTheLoop()
{
    TRecorder object;
    QSemaphore isStopped;
    object.inInitialize = [&isStopped] { isStopped.acquire(); };
    object.start(QThread::InheritPriority);
    object.Stop();
    isStopped.release();
    object.wait();
    QCOMPARE(object.steps, wholeLife);
    QVERIFY(object.wasInterruptedInFinalize);
}

void tst_ThreadedObject::stopMayComeFromInitialize()
{
    TRecorder object;
    object.inInitialize = [&object] { object.Stop(); };
    object.start(QThread::InheritPriority);
    object.wait();
    QCOMPARE(object.steps, wholeLife);
}

void tst_ThreadedObject::stopMayComeBeforeStart()
{
    TRecorder object;
    object.Stop();
    object.start(QThread::InheritPriority);
    object.wait();
    QCOMPARE(object.steps, wholeLife);
    QVERIFY(object.wasInterruptedInFinalize);
}

void tst_ThreadedObject::stopRacesWithStart()
{
    constexpr int rounds = 200;
    for (int round = 0; round < rounds; ++round) {
        TRecorder object;
        QSemaphore isReady;
        const std::unique_ptr<QThread> stopper(QThread::create([&] {
            isReady.acquire();
            object.Stop();
        }));
        stopper->start();
        isReady.release();
        object.start(QThread::InheritPriority);
        object.wait();
        QVERIFY(stopper->wait());
        QCOMPARE(object.steps, wholeLife);
        QVERIFY(object.wasInterruptedInFinalize);
        QCOMPARE(object.thread(), QThread::currentThread());
    }
}

void tst_ThreadedObject::stopMayComeTwice()
{
    TRecorder object;
    object.start(QThread::InheritPriority);
    object.Stop();
    object.Stop();
    object.wait();
    object.Stop();
    object.wait();
    QCOMPARE(object.steps, wholeLife);
}

void tst_ThreadedObject::waitWithoutStartReturnsAtOnce()
{
    TRecorder object;
    object.wait();
    QVERIFY(object.steps.isEmpty());
    QVERIFY(!object.isRunning());
}

void tst_ThreadedObject::waitReturnsAfterFinalize()
{
    TRecorder object;
    QSemaphore mayEnd;
    std::atomic<bool> hasFinalized{false};
    object.inFinalize = [&] {
        mayEnd.acquire();
        hasFinalized = true;
    };
    object.start(QThread::InheritPriority);
    object.Stop();
    const std::unique_ptr<QThread> releaser(QThread::create([&mayEnd] { mayEnd.release(); }));
    releaser->start();
    object.wait();
    QVERIFY(hasFinalized);
    QVERIFY(releaser->wait());
}

void tst_ThreadedObject::mayBeDestroyedWithoutStart()
{
    QPointer<TRecorder> object = new TRecorder;
    delete object.data();
    QVERIFY(object.isNull());
}

void tst_ThreadedObject::startsOnce()
{
    const kelvo::test::TExpectedMessage expected(QStringLiteral("started twice"));
    TRecorder object;
    object.start(QThread::InheritPriority);
    object.start(QThread::InheritPriority);
    object.Stop();
    object.wait();
    object.start(QThread::InheritPriority);
    object.wait();
    QCOMPARE(object.steps, wholeLife);
    QCOMPARE(expected.Count(), 2);
}

void tst_ThreadedObject::startsFromItsOwnThreadOnly()
{
    const kelvo::test::TExpectedMessage expected(QStringLiteral("by its object's thread"));
    TRecorder object;
    const std::unique_ptr<QThread> other(
        QThread::create([&object] { object.start(QThread::InheritPriority); }));
    other->start();
    QVERIFY(other->wait());
    object.wait();
    QVERIFY(object.steps.isEmpty());
}

// A call that came too late would otherwise run on the owner's thread.
void tst_ThreadedObject::dropsQueuedCallsThatAreLeft()
{
    TRecorder object;
    object.inInitialize = [&object] {
        object.Stop();
        QMetaObject::invokeMethod(&object, &TRecorder::Work, Qt::QueuedConnection);
    };
    object.inFinalize = [&object] {
        QMetaObject::invokeMethod(&object, &TRecorder::Work, Qt::QueuedConnection);
    };
    object.start(QThread::InheritPriority);
    object.wait();
    QMetaObject::invokeMethod(&object, &TRecorder::Work, Qt::QueuedConnection);
    QCoreApplication::processEvents();
    QCOMPARE(object.steps, wholeLife);
}

void tst_ThreadedObject::releasesABlockedCaller()
{
    TRecorder object;
    QSemaphore isPosted;
    object.inInitialize = [&] {
        object.Stop();
        isPosted.acquire();
    };
    object.start(QThread::InheritPriority);
    QThread* const own = object.thread();
    const std::unique_ptr<QThread> caller(QThread::create([&] {
        // Whether it is still queued or comes too late: the caller goes on.
        if (object.thread() == own) {
            isPosted.release();
            QMetaObject::invokeMethod(&object, &TRecorder::Work, Qt::BlockingQueuedConnection);
        }
    }));
    caller->start();
    object.wait();
    while (!caller->wait(1)) {
        QCoreApplication::processEvents();
    }
    QCOMPARE(object.steps, wholeLife);
}

void tst_ThreadedObject::runsDeferredDeletesBeforeItEnds()
{
    TRecorder object;
    QThread* deleteThread = nullptr;
    QThread* childDeleteThread = nullptr;
    object.inFinalize = [&] {
        auto* const helper = new QObject;
        auto* const child = new QObject(&object);
        connect(
            helper, &QObject::destroyed, helper,
            [&deleteThread] { deleteThread = QThread::currentThread(); }, Qt::DirectConnection);
        connect(
            child, &QObject::destroyed, child,
            [&childDeleteThread] { childDeleteThread = QThread::currentThread(); },
            Qt::DirectConnection);
        helper->deleteLater();
        child->deleteLater();
    };
    object.start(QThread::InheritPriority);
    object.Stop();
    object.wait();
    QVERIFY(deleteThread != nullptr);
    QCOMPARE(deleteThread, object.finalizeThread);
    QCOMPARE(childDeleteThread, object.finalizeThread);
}

void tst_ThreadedObject::deletesItselfOnItsOwnersThread()
{
    auto* const object = new TRecorder;
    QThread* deleteThread = nullptr;
    QStringList steps;
    QEventLoop loop;
    object->inFinalize = [object, &steps] { steps = object->steps; };
    connect(
        object, &QObject::destroyed, &loop,
        [&] {
            deleteThread = QThread::currentThread();
            loop.quit();
        },
        Qt::DirectConnection);
    object->start(QThread::InheritPriority);
    object->deleteLater();
    loop.exec();
    QCOMPARE(deleteThread, QThread::currentThread());
    QCOMPARE(steps, wholeLife);
}

void tst_ThreadedObject::takesInObjects()
{
    TRecorder object;
    QObject early;
    object.MoveToThisThread(&early);
    object.start(QThread::InheritPriority);
    auto* const late = new QObject;
    object.MoveToThisThread(late);
    QCOMPARE(late->thread(), object.thread());
    QCOMPARE(early.thread(), object.thread());
    QThread* calledOn = nullptr;
    QMetaObject::invokeMethod(
        late, [&calledOn] { calledOn = QThread::currentThread(); }, Qt::BlockingQueuedConnection);
    QCOMPARE(calledOn, object.thread());
    QPointer<QObject> watched = late;
    late->deleteLater();
    object.Stop();
    object.wait();
    QVERIFY(watched.isNull());
}

void tst_ThreadedObject::takesInNothingAfterItsEnd()
{
    const kelvo::test::TExpectedMessage expected(QStringLiteral("nothing can be moved"));
    TRecorder object;
    object.start(QThread::InheritPriority);
    object.Stop();
    object.wait();
    QObject late;
    object.MoveToThisThread(&late);
    QCOMPARE(late.thread(), QThread::currentThread());
}

void tst_ThreadedObject::runsTimers()
{
    TRecorder object;
    QSemaphore hasFired;
    std::unique_ptr<QTimer> timer;
    object.inInitialize = [&] {
        timer = std::make_unique<QTimer>();
        QObject::connect(timer.get(), &QTimer::timeout, &object,
                         [&hasFired] { hasFired.release(); });
        timer->start(0);
    };
    object.inFinalize = [&] { timer.reset(); };
    object.start(QThread::InheritPriority);
    hasFired.acquire();
    object.Stop();
    object.wait();
    QVERIFY(timer == nullptr);
}

KELVO_TEST_MAIN(tst_ThreadedObject)
#include "tst_threadedobject.moc"
