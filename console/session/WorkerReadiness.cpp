// Waits until the plug-in's worker listens to the hub.
#include "console/session/WorkerReadiness.h"

#include "hostimpl/TFedGPSCoordinator.h"

#include <QtCore/QEventLoop>
#include <QtCore/QTimer>

namespace console {

// The worker's connection to the coordinator is one of those that it makes before its event loop
// runs; the hub itself cannot be asked who listens to it while another thread connects.
bool WaitForWorker(hostimpl::TFedGPSCoordinator& coordinator, int timeoutMs)
{
    QEventLoop loop;
    QObject::connect(&coordinator, &hostimpl::TFedGPSCoordinator::ListenerReady, &loop,
                     [&loop] { loop.exit(1); });
    QTimer::singleShot(timeoutMs, &loop, [&loop] { loop.exit(0); });
    return coordinator.ReadyListeners() > 0 || loop.exec() == 1;
}

} // namespace console
