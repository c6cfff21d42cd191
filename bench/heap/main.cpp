// Measures the plug-in's heap for bench/footprint, step by step. Loads the library as the host
// does, with the SDK and the screens.
//
//   kelvo_bench_heap LIBRARY FILES
//
// Logs in and waits until FILES files are listed. The service, its authority and the credentials
// are in the environment: KELVO_API_HOST, KESDK_CA_FILE, KELVO_USER, KELVO_PASSWORD. Prints a line
// for each step: its name, the bytes in use, the bytes that the allocator has from the system, and
// the number of threads. GLIBC_TUNABLES should turn off the threads' caches, because the allocator
// counts cached memory as in use.
#include "core/TKelvoInterface.h"
#include "hostimpl/Folders.h"
#include "hostimpl/TConfigStore.h"
#include "hostimpl/TFeatures.h"
#include "hostimpl/TFedGPSCoordinator.h"
#include "hostimpl/TStartWatch.h"
#include "hostimpl/TUserLevels.h"

#include <QtCore/QDir>
#include <QtCore/QElapsedTimer>
#include <QtCore/QLibrary>
#include <QtCore/QTemporaryDir>
#include <QtCore/QThread>

#ifdef KELVO_HAS_SCREENS
#include "host/TGen2DynamicLibrary.h"
#include "hostimpl/TSurfaceRegister.h"
#include "hostimpl/WindowManager.h"

#include <QtWidgets/QApplication>
#include <QtWidgets/QListWidget>
#else
#include <QtGui/QGuiApplication>
#endif

#include <cstdio>
#include <functional>
#include <stdexcept>

#include <malloc.h>

namespace {

constexpr int GUARD_MS = 300000; // ends a run that hangs; emulated TLS is slow
constexpr int LOOK_MS = 250;
constexpr int STILL_LOOKS = 8;

void WaitUntil(const char* what, const std::function<bool()>& condition)
{
    QElapsedTimer timer;
    timer.start();
    while (!condition()) {
        if (timer.elapsed() > GUARD_MS)
            throw std::runtime_error(what);
        QCoreApplication::processEvents(QEventLoop::AllEvents, LOOK_MS);
        QThread::msleep(1);
    }
}

struct TUse
{
    std::size_t inUse;
    std::size_t held;
    int threads;

    static TUse Now()
    {
        const struct mallinfo2 info = ::mallinfo2(); // all arenas
        const QDir tasks(QStringLiteral("/proc/self/task"));
        return {info.uordblks + info.hblkhd, info.arena + info.hblkhd,
                tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size()};
    }
};

// Other threads may still work: a step counts when the figures have not changed for a while.
void Tell(const char* step)
{
    TUse use = TUse::Now();
    int still = 0;
    WaitUntil("the heap does not come to rest", [&] {
        QThread::msleep(LOOK_MS);
        const TUse now = TUse::Now();
        still = now.inUse == use.inUse ? still + 1 : 0;
        use = now;
        return still == STILL_LOOKS;
    });
    std::printf("%s\t%zu\t%zu\t%d\n", step, use.inUse, use.held, use.threads);
    std::fflush(stdout);
}

// The console around the plug-in.
class THost
{
public:
    THost()
    {
        hostimpl::TConfigStore& store = hostimpl::TConfigStore::Process();
        store.SetItem(24289, qEnvironmentVariable("KELVO_USER"), false);
        store.SetItem(24290, qEnvironmentVariable("KELVO_PASSWORD"), false);
        QString errorText;
        if (!hostimpl::SetDataFolder(m_folder.path()) || !hostimpl::CreateFolders(errorText))
            throw std::runtime_error("no data folder");
    }

    hostimpl::TFedGPSCoordinator gps;
    hostimpl::TUserLevels levels{hostimpl::TConfigStore::Process()};
    hostimpl::TFeatures features{hostimpl::TConfigStore::Process()};

private:
    const QTemporaryDir m_folder;
};

class TPlugin
{
public:
    explicit TPlugin(const QString& file) : m_library(file)
    {
        m_library.setLoadHints(QLibrary::ResolveAllSymbolsHint | QLibrary::PreventUnloadHint);
        if (!m_library.load())
            throw std::runtime_error(qPrintable(m_library.errorString()));
    }

    void Initialise(THost& host)
    {
        using TInitialise = void (*)(QWidget*, const TGPSCoordinator*, const QString&,
                                     const TAppUserLevels*, const TAppFeatures*);
        hostimpl::TStartWatch watch;
        watch.Run([&] {
            Resolve<TInitialise>("Initialise")(nullptr, &host.gps, QStringLiteral("Host 1.0"),
                                               &host.levels, &host.features);
        });
        WaitUntil("the worker is not ready", [&] { return watch.AreAllInitialised(); });
    }
    void Finalise() { Resolve<void (*)()>("Finalise")(); }
    TKelvoInterface& Hub() { return *Resolve<TKelvoInterface* (*)()>("GetKelvoInterface")(); }
    template <typename T>
    T Resolve(const char* name)
    {
        const QFunctionPointer found = m_library.resolve(name);
        if (found == nullptr)
            throw std::runtime_error(name);
        return reinterpret_cast<T>(found);
    }

private:
    QLibrary m_library;
};

void LogIn(TKelvoInterface& hub, int files)
{
    hub.OnLoginToKelvoRequested();
    WaitUntil("the files are not listed", [&] {
        int listed = 0;
        for (int project = 0; project < KELVO_PROJECT_COUNT; ++project)
            listed += hub.GetKelvoProjectFilesList(EKelvoProjects(project)).fileNames.size();
        return hub.IsKelvoLoggedIn() && listed >= files && !hub.IsKelvoFileOperationInProgress();
    });
}

#ifdef KELVO_HAS_SCREENS
// The console's window. It is drawn before the screens, so that the memory that Qt allocates for
// drawing does not count as the screens'.
class TWindowOfHost : public QListWidget
{
public:
    TWindowOfHost()
    {
        addItem(QStringLiteral("Console"));
        resize(1024, 768);
        show();
        QCoreApplication::processEvents();
    }
};

void ShowScreens(TPlugin& plugin, hostimpl::TSurfaceRegister& surfaces, QWidget& window)
{
    (*plugin.Resolve<TGen2DynamicLibrary**>("dll"))->CreateScreens();
    for (const ZRA::OrvaleID& application : surfaces.Applications()) {
        QList<ZRA::AppWindowSurface*> all = surfaces.MiniViews(application);
        all.append(surfaces.FullView(application));
        for (ZRA::AppWindowSurface* const surface : qAsConst(all)) {
            surface->setParent(&window);
            surface->Setup();
            surface->show();
        }
    }
    QCoreApplication::processEvents();
}
#endif

void Run(const QString& library, int files)
{
    THost host;
#ifdef KELVO_HAS_SCREENS
    hostimpl::TSurfaceRegister surfaces;
    hostimpl::SetWindowManager(&surfaces);
    TWindowOfHost window;
#endif
    Tell("host");
    TPlugin plugin(library);
    Tell("loaded");
    plugin.Initialise(host);
    Tell("initialised");
    LogIn(plugin.Hub(), files);
    Tell("listed");
#ifdef KELVO_HAS_SCREENS
    ShowScreens(plugin, surfaces, window);
    Tell("screens");
#endif
    plugin.Finalise();
    Tell("finalised");
}

} // namespace

int main(int argc, char** argv)
{
#ifdef KELVO_HAS_SCREENS
    const QApplication application(argc, argv);
#else
    const QGuiApplication application(argc, argv);
#endif
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        std::fputs("usage: kelvo_bench_heap LIBRARY FILES\n", stderr);
        return 2;
    }
    try {
        Run(arguments[1], arguments[2].toInt());
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "kelvo_bench_heap: %s\n", failure.what());
        return 1;
    }
    return 0;
}
