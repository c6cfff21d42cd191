// TThreadedObject: the order of Initialize(), slots and Finalize(), their thread, and Stop() at any
// time.
#include "host/framework/TThreadRecorder.h"

#include "support/TestMain.h"

#include <QtCore/QPointer>

#include <atomic>
#include <memory>

using kelvo::test::TThreadRecorder;
using kelvo::test::wholeLife;

class tst_ThreadedObject : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void runsInitializeAndFinalizeOnItsThread();
    void movesBackToItsOwnersThread();
    void theObjectIsInitialisedBetweenInitializeAndFinalize();
    void stopRequestsInterruption();
    void stopBeforeTheEventLoopEndsTheThread();
    void stopInInitializeEndsTheThread();
    void stopBeforeStartEndsTheThread();
    void stopDuringStartEndsTheThread();
    void secondStopDoesNothing();
    void waitWithoutStartReturnsAtOnce();
    void waitReturnsAfterFinalize();
    void destructorWorksWithoutStart();
    void startsOnce();
    void startsFromItsOwnThreadOnly();
};

void tst_ThreadedObject::runsInitializeAndFinalizeOnItsThread()
{
    TThreadRecorder object;
    object.start(QThread::LowPriority);
    object.Stop();
    object.wait();
    QCOMPARE(object.steps, wholeLife);
    QVERIFY(object.initializeThread != QThread::currentThread());
    QCOMPARE(object.finalizeThread, object.initializeThread);
    QCOMPARE(object.threadName, QStringLiteral("Recorder"));
}

void tst_ThreadedObject::movesBackToItsOwnersThread()
{
    TThreadRecorder object;
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

void tst_ThreadedObject::theObjectIsInitialisedBetweenInitializeAndFinalize()
{
    TThreadRecorder object;
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
    TThreadRecorder object;
    bool wasInterruptedBefore = true;
    object.inInitialize = [&wasInterruptedBefore] {
        wasInterruptedBefore = QThread::currentThread()->isInterruptionRequested();
    };
    object.start(QThread::InheritPriority);
    object.isInitialized.acquire();
    // A long operation that checks for the interruption, as the worker's transfers do.
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

void tst_ThreadedObject::stopBeforeTheEventLoopEndsTheThread()
{
    TThreadRecorder object;
    QSemaphore isStopped;
    object.inInitialize = [&isStopped] { isStopped.acquire(); };
    object.start(QThread::InheritPriority);
    object.Stop();
    isStopped.release();
    object.wait();
    QCOMPARE(object.steps, wholeLife);
    QVERIFY(object.wasInterruptedInFinalize);
}

void tst_ThreadedObject::stopInInitializeEndsTheThread()
{
    TThreadRecorder object;
    object.inInitialize = [&object] { object.Stop(); };
    object.start(QThread::InheritPriority);
    object.wait();
    QCOMPARE(object.steps, wholeLife);
}

void tst_ThreadedObject::stopBeforeStartEndsTheThread()
{
    TThreadRecorder object;
    object.Stop();
    object.start(QThread::InheritPriority);
    object.wait();
    QCOMPARE(object.steps, wholeLife);
    QVERIFY(object.wasInterruptedInFinalize);
}

void tst_ThreadedObject::stopDuringStartEndsTheThread()
{
    constexpr int rounds = 200;
    for (int round = 0; round < rounds; ++round) {
        TThreadRecorder object;
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

void tst_ThreadedObject::secondStopDoesNothing()
{
    TThreadRecorder object;
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
    TThreadRecorder object;
    object.wait();
    QVERIFY(object.steps.isEmpty());
    QVERIFY(!object.isRunning());
}

void tst_ThreadedObject::waitReturnsAfterFinalize()
{
    TThreadRecorder object;
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

void tst_ThreadedObject::destructorWorksWithoutStart()
{
    QPointer<TThreadRecorder> object = new TThreadRecorder;
    delete object.data();
    QVERIFY(object.isNull());
}

void tst_ThreadedObject::startsOnce()
{
    const kelvo::test::TExpectedMessage expected(QStringLiteral("started twice"));
    TThreadRecorder object;
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
    const kelvo::test::TExpectedMessage expected(QStringLiteral("was not started"));
    TThreadRecorder object;
    const std::unique_ptr<QThread> other(
        QThread::create([&object] { object.start(QThread::InheritPriority); }));
    other->start();
    QVERIFY(other->wait());
    object.wait();
    QVERIFY(object.steps.isEmpty());
}

KELVO_TEST_MAIN(tst_ThreadedObject)
#include "tst_threadedobject.moc"
