// When the worker listens to the hub.
#include "console/session/WorkerReadiness.h"
#include "hostimpl/TFedGPSCoordinator.h"
#include "support/TestMain.h"

#include "host/TThreadedObject.h"

namespace {

// Connects to the coordinator as it starts, as a plug-in's worker does.
class TListener : public TThreadedObject
{
public:
    explicit TListener(const TGPSCoordinator& coordinator)
        : TThreadedObject(QStringLiteral("listener")), m_coordinator(coordinator)
    {}
    bool HasConnected() const { return m_hasConnected; }

protected:
    void Initialize() override
    {
        connect(&m_coordinator, &TGPSCoordinator::GPSLost, this, [](bool) {});
        m_hasConnected = true;
    }

private:
    const TGPSCoordinator& m_coordinator;
    std::atomic<bool> m_hasConnected{false};
};

} // namespace

class TWorkerReadinessTest : public kelvo::test::TTestCase
{
    Q_OBJECT

private Q_SLOTS:
    void waitsForAWorker()
    {
        hostimpl::TFedGPSCoordinator coordinator;
        TListener listener(coordinator);
        listener.start(QThread::NormalPriority);
        QVERIFY(console::WaitForWorker(coordinator, 60000));
        QVERIFY(listener.HasConnected());
        QVERIFY(console::WaitForWorker(coordinator, 0));
        listener.Stop();
        listener.wait();
    }

    void takesAListenerOnItsOwnThreadForNoWorker()
    {
        hostimpl::TFedGPSCoordinator coordinator;
        connect(&coordinator, &TGPSCoordinator::GPSLost, this, [](bool) {});
        QVERIFY(!console::WaitForWorker(coordinator, 1));
    }

    void survivesAWorkerThatEndsBeforeItsLoopRan()
    {
        hostimpl::TFedGPSCoordinator coordinator;
        TListener listener(coordinator);
        listener.Stop();
        listener.start(QThread::NormalPriority);
        listener.wait();
        QVERIFY(listener.HasConnected());
    }

    void givesUp()
    {
        hostimpl::TFedGPSCoordinator coordinator;
        QVERIFY(!console::WaitForWorker(coordinator, 1));
    }
};

KELVO_TEST_MAIN(TWorkerReadinessTest)
#include "tst_WorkerReadiness.moc"
