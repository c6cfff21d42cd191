// TStartWatch: which objects it watches, and when it reports.
#include "hostimpl/TStartWatch.h"

#include "host/framework/TThreadRecorder.h"
#include "support/HangGuard.h"
#include "support/TestMain.h"

#include <QtCore/QSemaphore>
#include <QtTest/QSignalSpy>

#include <memory>
#include <stdexcept>

using hostimpl::TStartWatch;
using kelvo::test::TThreadRecorder;

class tst_StartWatch : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void reportsWhenTheLastObjectIsInitialised();
    void reportsOnItsOwnThread();
    void reportsAlsoIfNothingWasStarted();
    void ignoresObjectsThatAreStartedOutsideOfRun();
    void reportsOnceForEachRun();
    void passesOnAnException();
    void mayBeDestroyedWhileAnObjectStarts();
    void reportsAnObjectThatIsStoppedBeforeItsStart();

private:
    static void End(TThreadRecorder& object)
    {
        object.Stop();
        object.wait();
    }
    static bool WaitUntilInitialised(const TStartWatch& watch)
    {
        return QTest::qWaitFor([&watch] { return watch.AreAllInitialised(); },
                               kelvo::test::HANG_GUARD_MS);
    }
};

void tst_StartWatch::reportsWhenTheLastObjectIsInitialised()
{
    TThreadRecorder quick;
    TThreadRecorder slow;
    QSemaphore mayContinue;
    slow.inInitialize = [&mayContinue] { mayContinue.acquire(); };
    TStartWatch watch;
    QSignalSpy reports(&watch, &TStartWatch::AllInitialised);
    QVERIFY(!watch.AreAllInitialised());
    watch.Run([&] {
        slow.start(QThread::InheritPriority);
        quick.start(QThread::InheritPriority);
    });
    quick.isInitialized.acquire();
    QMetaObject::invokeMethod(
        &quick, [] {}, Qt::BlockingQueuedConnection);
    QCoreApplication::processEvents();
    QVERIFY(!watch.AreAllInitialised());
    QCOMPARE(reports.count(), 0);
    mayContinue.release();
    QVERIFY(reports.wait(kelvo::test::HANG_GUARD_MS));
    QVERIFY(watch.AreAllInitialised());
    QVERIFY(slow.IsInitialised());
    End(quick);
    End(slow);
}

void tst_StartWatch::reportsOnItsOwnThread()
{
    TThreadRecorder object;
    TStartWatch watch;
    QThread* thread = nullptr;
    connect(
        &watch, &TStartWatch::AllInitialised, &watch,
        [&thread] { thread = QThread::currentThread(); }, Qt::DirectConnection);
    watch.Run([&object] { object.start(QThread::InheritPriority); });
    QTRY_COMPARE_WITH_TIMEOUT(thread, QThread::currentThread(), kelvo::test::HANG_GUARD_MS);
    End(object);
}

void tst_StartWatch::reportsAlsoIfNothingWasStarted()
{
    TStartWatch watch;
    QSignalSpy reports(&watch, &TStartWatch::AllInitialised);
    watch.Run([] {});
    QVERIFY(watch.AreAllInitialised());
    QCOMPARE(reports.count(), 0);
    QCoreApplication::processEvents();
    QCOMPARE(reports.count(), 1);
}

void tst_StartWatch::ignoresObjectsThatAreStartedOutsideOfRun()
{
    TThreadRecorder former;
    TThreadRecorder later;
    QSemaphore mayContinue;
    former.inInitialize = [&mayContinue] { mayContinue.acquire(); };
    later.inInitialize = [&mayContinue] { mayContinue.acquire(); };
    TStartWatch watch;
    former.start(QThread::InheritPriority);
    watch.Run([] {});
    later.start(QThread::InheritPriority);
    QVERIFY(watch.AreAllInitialised());
    mayContinue.release(2);
    End(former);
    End(later);
}

void tst_StartWatch::reportsOnceForEachRun()
{
    TStartWatch watch;
    QSignalSpy reports(&watch, &TStartWatch::AllInitialised);
    for (int run = 1; run <= 2; ++run) {
        TThreadRecorder object;
        watch.Run([&object] { object.start(QThread::InheritPriority); });
        QVERIFY(WaitUntilInitialised(watch));
        End(object);
        QCoreApplication::processEvents();
        QCOMPARE(reports.count(), run);
    }
}

void tst_StartWatch::passesOnAnException()
{
    TStartWatch watch;
    QVERIFY_EXCEPTION_THROWN(watch.Run([] { throw std::runtime_error("no memory"); }),
                             std::runtime_error);
    QVERIFY(watch.AreAllInitialised());
    // The watch no longer takes objects of this thread.
    TThreadRecorder object;
    QSemaphore mayContinue;
    object.inInitialize = [&mayContinue] { mayContinue.acquire(); };
    object.start(QThread::InheritPriority);
    QVERIFY(watch.AreAllInitialised());
    mayContinue.release();
    End(object);
}

void tst_StartWatch::mayBeDestroyedWhileAnObjectStarts()
{
    TThreadRecorder object;
    QSemaphore mayContinue;
    object.inInitialize = [&mayContinue] { mayContinue.acquire(); };
    auto watch = std::make_unique<TStartWatch>();
    watch->Run([&object] { object.start(QThread::InheritPriority); });
    watch.reset();
    mayContinue.release();
    object.isInitialized.acquire();
    End(object);
    QCOMPARE(object.steps, kelvo::test::wholeLife);
}

// Stop() before start() still lets Initialize() run.
void tst_StartWatch::reportsAnObjectThatIsStoppedBeforeItsStart()
{
    TThreadRecorder object;
    TStartWatch watch;
    object.Stop();
    watch.Run([&object] { object.start(QThread::InheritPriority); });
    QVERIFY(WaitUntilInitialised(watch));
    object.wait();
}

KELVO_TEST_MAIN(tst_StartWatch)
#include "tst_startwatch.moc"
