// The plug-in's worker with a position to share, for bench/idle_hour. Standard input controls it.
// The service, its authority and the credentials are in the environment:
// KELVO_API_HOST, KESDK_CA_FILE, KELVO_USER, KELVO_PASSWORD.
//
//   login           logs in and starts sharing; answers when the hub has the lists
//   minute HHMMSS   sets a new fix and runs the worker's timer slot
//   quit            ends the worker
//
// Each command is answered with "ok" or "failed".
#include "core/TKelvoInterface.h"
#include "hostimpl/Folders.h"
#include "hostimpl/TConfigStore.h"
#include "hostimpl/TFeatures.h"
#include "hostimpl/TFedGPSCoordinator.h"
#include "hostimpl/TStartWatch.h"
#include "worker/TKelvoThreadObject.h"

#include <QtCore/QEventLoop>
#include <QtCore/QTemporaryDir>
#include <QtCore/QTextStream>
#include <QtCore/QTimer>
#include <QtGui/QGuiApplication>

namespace {

constexpr int GUARD_MS = 60000;
constexpr int LISTS = 6;

// False if `signal` was not emitted `times` times before the guard's timeout.
template <typename TSender, typename TSignal>
bool WaitFor(TSender* sender, TSignal signal, int times)
{
    QEventLoop loop;
    QObject::connect(sender, signal, &loop, [&] {
        if (--times == 0)
            loop.exit(1);
    });
    QTimer::singleShot(GUARD_MS, &loop, [&loop] { loop.exit(0); });
    return loop.exec() == 1;
}

class TSharing
{
public:
    TSharing()
    {
        hostimpl::TConfigStore& store = hostimpl::TConfigStore::Process();
        store.SetItem(24289, qEnvironmentVariable("KELVO_USER"), false);
        store.SetItem(24290, qEnvironmentVariable("KELVO_PASSWORD"), false);
        QString errorText;
        m_isReady = hostimpl::SetDataFolder(m_folder.path()) && hostimpl::CreateFolders(errorText);
        KelvoInterface = new TKelvoInterface; // the worker deletes it
        hostimpl::TStartWatch watch;
        watch.Run([this] { m_worker.start(QThread::LowestPriority); });
        m_isReady = m_isReady && WaitFor(&watch, &hostimpl::TStartWatch::AllInitialised, 1);
    }
    ~TSharing()
    {
        m_worker.Stop();
        m_worker.wait();
    }

    bool LogIn()
    {
        if (!m_isReady)
            return false;
        KelvoInterface->OnLoginToKelvoRequested();
        return WaitFor(KelvoInterface, &TKelvoInterface::NewKelvoProjectFilesList, LISTS);
    }
    bool Minute(double utcTime)
    {
        m_longitude += 0.0001;
        if (!m_gps.Feed({52.1, m_longitude, utcTime}))
            return false;
        return QMetaObject::invokeMethod(&m_worker, "OnShareCurrentLocationWithKelvo",
                                         Qt::BlockingQueuedConnection);
    }
    bool Share() { return m_gps.Feed({52.1, m_longitude, 120000.0}); }

private:
    const QTemporaryDir m_folder;
    hostimpl::TFedGPSCoordinator m_gps;
    hostimpl::TFeatures m_features{hostimpl::TConfigStore::Process()};
    TKelvoThreadObject m_worker{&m_gps, m_features, QStringLiteral("Host 1.0")};
    double m_longitude = 7.0;
    bool m_isReady = false;
};

bool Run(TSharing& sharing, const QStringList& words)
{
    if (words.value(0) == QLatin1String("login"))
        return sharing.LogIn() && sharing.Share();
    return words.value(0) == QLatin1String("minute") && sharing.Minute(words.value(1).toDouble());
}

} // namespace

int main(int argc, char** argv)
{
    const QGuiApplication application(argc, argv);
    TSharing sharing;
    QTextStream in(stdin);
    QTextStream out(stdout);
    for (QString line = in.readLine(); !line.isNull() && line != QLatin1String("quit");
         line = in.readLine()) {
        out << (Run(sharing, line.split(QLatin1Char(' '))) ? "ok" : "failed") << Qt::endl;
    }
    return 0;
}
