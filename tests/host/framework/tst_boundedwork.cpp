// Work with a bounded wait.
#include "framework/BoundedWork.h"

#include "support/TestMain.h"

#include <QtCore/QSemaphore>

#include <memory>
#include <thread>

using hostimpl::RunBounded;

class tst_BoundedWork : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void waitsForTheEndOnAnotherThread()
    {
        std::thread::id worker;
        QVERIFY(
            RunBounded([&worker] { worker = std::this_thread::get_id(); }, std::chrono::hours(1)));
        QVERIFY(worker != std::thread::id() && worker != std::this_thread::get_id());
    }

    void leavesWorkThatDoesNotEnd()
    {
        struct TGates
        {
            QSemaphore mayEnd;
            QSemaphore hasEnded;
        };
        const auto gates = std::make_shared<TGates>();
        const bool hasEnded = RunBounded(
            [gates] {
                gates->mayEnd.acquire();
                gates->hasEnded.release();
            },
            std::chrono::milliseconds(1));
        QVERIFY(!hasEnded);
        gates->mayEnd.release();
        gates->hasEnded.acquire();
    }
};

KELVO_TEST_MAIN(tst_BoundedWork)
#include "tst_boundedwork.moc"
