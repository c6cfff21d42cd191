// TThreadedObject: events, timers and deferred deletes at the end of the thread.
#include "host/framework/TThreadRecorder.h"

#include "support/TestMain.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QEventLoop>
#include <QtCore/QPointer>
#include <QtCore/QTimer>

#include <memory>

using kelvo::test::TThreadRecorder;
using kelvo::test::wholeLife;

class tst_ThreadedObjectEvents : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void dropsQueuedCallsAfterFinalize();
    void destroysTheCallsThatItDrops();
    void runsDeferredDeletesBeforeItEnds();
    void deletesItselfOnItsOwnersThread();
    void movesObjectsToItsThread();
    void movesNoObjectsAfterItsEnd();
    void runsTimers();
    void runsSlotsOnItsThread();
};

// Without the drop, a late call would run on the owner's thread.
void tst_ThreadedObjectEvents::dropsQueuedCallsAfterFinalize()
{
    TThreadRecorder object;
    object.inInitialize = [&object] {
        object.Stop();
        QMetaObject::invokeMethod(&object, &TThreadRecorder::Work, Qt::QueuedConnection);
    };
    object.inFinalize = [&object] {
        QMetaObject::invokeMethod(&object, &TThreadRecorder::Work, Qt::QueuedConnection);
    };
    object.start(QThread::InheritPriority);
    object.wait();
    QMetaObject::invokeMethod(&object, &TThreadRecorder::Work, Qt::QueuedConnection);
    QCoreApplication::processEvents();
    QCOMPARE(object.steps, wholeLife);
}

// Qt releases the caller of a blocking call when the queued call is destroyed.
void tst_ThreadedObjectEvents::destroysTheCallsThatItDrops()
{
    TThreadRecorder object;
    QSemaphore isPosted;
    object.inInitialize = [&] {
        object.Stop();
        isPosted.acquire();
    };
    object.start(QThread::InheritPriority);
    auto call = std::make_shared<int>();
    const std::weak_ptr<int> watched = call;
    bool isCalled = false;
    QMetaObject::invokeMethod(
        &object, [call, &isCalled] { isCalled = true; }, Qt::QueuedConnection);
    call.reset();
    isPosted.release();
    object.wait();
    QVERIFY(watched.expired());
    QVERIFY(!isCalled);
    QCOMPARE(object.steps, wholeLife);
}

void tst_ThreadedObjectEvents::runsDeferredDeletesBeforeItEnds()
{
    TThreadRecorder object;
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

void tst_ThreadedObjectEvents::deletesItselfOnItsOwnersThread()
{
    auto* const object = new TThreadRecorder;
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

void tst_ThreadedObjectEvents::movesObjectsToItsThread()
{
    TThreadRecorder object;
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

void tst_ThreadedObjectEvents::movesNoObjectsAfterItsEnd()
{
    const kelvo::test::TExpectedMessage expected(QStringLiteral("cannot be moved"));
    TThreadRecorder object;
    object.start(QThread::InheritPriority);
    object.Stop();
    object.wait();
    QObject late;
    object.MoveToThisThread(&late);
    QCOMPARE(late.thread(), QThread::currentThread());
}

void tst_ThreadedObjectEvents::runsTimers()
{
    TThreadRecorder object;
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

void tst_ThreadedObjectEvents::runsSlotsOnItsThread()
{
    TThreadRecorder object;
    QTimer sender; // any object with a signal
    connect(&sender, &QObject::objectNameChanged, &object, &TThreadRecorder::Work);
    sender.setObjectName(QStringLiteral("direct: it has not started"));
    object.steps.clear();
    QMetaObject::invokeMethod(&object, &TThreadRecorder::Work, Qt::QueuedConnection);
    object.start(QThread::InheritPriority);
    sender.setObjectName(QStringLiteral("queued"));
    object.isInitialized.acquire();
    QMetaObject::invokeMethod(&object, &TThreadRecorder::Work, Qt::BlockingQueuedConnection);
    object.Stop();
    object.wait();
    QCOMPARE(object.steps, QStringList({QStringLiteral("initialize"), QStringLiteral("work"),
                                        QStringLiteral("work"), QStringLiteral("work"),
                                        QStringLiteral("finalize")}));
    QCOMPARE(object.workThread, object.initializeThread);
}

KELVO_TEST_MAIN(tst_ThreadedObjectEvents)
#include "tst_threadedobject_events.moc"
