// Loads a plug-in as the host does, starts it and ends it, for test_load.py.
//
//   load_once LIBRARY
//
// It opens files that do not exist, to mark two points in the trace of its system calls. The points
// are the start of the load and the return of Initialise. Then it prints "initialised" and waits
// for the worker if there is a worker.
#include "support/TestProcess.h"
#include "tests/plugin/TLoadedPlugin.h"

#include <QtCore/QFile>
#include <QtGui/QGuiApplication>

#include <cstdio>

#include <unistd.h>

namespace {

void Mark(const char* what)
{
    static_cast<void>(::access(what, F_OK));
}

bool LoadAndStart(const QString& file)
{
    TLoadedPlugin plugin;
    Mark("mark: loading begins");
    if (!plugin.Load(file)) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(plugin.ErrorString()));
        return false;
    }
    plugin.Initialise();
    Mark("mark: Initialise has returned");
    std::puts("initialised");
    std::fflush(stdout);
    return plugin.Hub() == nullptr || plugin.WaitForWorker();
}

} // namespace

int main(int argc, char** argv)
{
    kelvo::test::PrepareProcess();
    const QGuiApplication application(argc, argv);
    if (argc != 2) {
        std::fputs("usage: load_once LIBRARY\n", stderr);
        return 2;
    }
    return kelvo::test::FinishProcess(LoadAndStart(QFile::decodeName(argv[1])) ? 0 : 1);
}
