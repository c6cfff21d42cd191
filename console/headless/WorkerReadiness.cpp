// Waits until the plug-in's worker listens to the hub.
#include "console/headless/WorkerReadiness.h"

#include "core/TKelvoInterface.h"

#include <QtCore/QEventLoop>
#include <QtCore/QTimer>

#include <algorithm>
#include <iterator>

namespace {

constexpr int pollIntervalMs = 5;

const char* const requestSignals[] = {
    SIGNAL(KelvoLoginRequested()),
    SIGNAL(KelvoLogoutRequested()),
    SIGNAL(KelvoUploadRequested(int, QStringList)),
    SIGNAL(KelvoDownloadRequested(int, QStringList, KelvoFileInfoList)),
    SIGNAL(KelvoDeleteFilesRequested(int, QStringList, KelvoFileInfoList)),
};

// QObject::receivers() is protected, and the hub says nothing else of who listens to it.
class TReceiverCount : public QObject
{
public:
    static int Of(const QObject& object, const char* signal)
    {
        return (object.*&TReceiverCount::receivers)(signal);
    }
};

} // namespace

namespace console {

bool IsWorkerListening(TKelvoInterface& hub)
{
    return std::all_of(std::begin(requestSignals), std::end(requestSignals),
                       [&hub](const char* signal) { return TReceiverCount::Of(hub, signal) > 0; });
}

bool WaitForWorker(TKelvoInterface& hub, int timeoutMs)
{
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (IsWorkerListening(hub)) {
            loop.exit(1);
        }
    });
    QTimer::singleShot(timeoutMs, &loop, [&loop] { loop.exit(0); });
    poll.start(pollIntervalMs);
    return IsWorkerListening(hub) || loop.exec() == 1;
}

} // namespace console
