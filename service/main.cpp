// kelvo-service: the farm-data service for consoles and farm offices.
#include "service/CommandLine.h"
#include "service/DataFolder.h"
#include "service/Service.h"
#include "service/base/Log.h"
#include "service/base/Output.h"
#include "service/maintenance/MaintenanceCommands.h"

#include <csignal>
#include <cstdio>
#include <exception>

#include <malloc.h>
#include <sys/resource.h>

namespace {

// Exit codes. 1 means that `verify`, `backup`, `restore` or `migrate` found damage.
constexpr int refused = 2;
constexpr int failed = 3;

void prepareProcess()
{
    // A write to a closed connection or beyond a file size limit returns an error instead of a
    // signal.
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    // Buffers move between threads. With an arena per thread, several sets of them would stay
    // allocated.
    mallopt(M_ARENA_MAX, 2);
    rlimit files{};
    if (getrlimit(RLIMIT_NOFILE, &files) == 0) {
        files.rlim_cur = files.rlim_max;
        setrlimit(RLIMIT_NOFILE, &files);
    }
}

int runCommand(const kelvo::CommandLine& commandLine)
{
    if (commandLine.verify) {
        return kelvo::maintenance::runVerify(*commandLine.verify);
    }
    if (commandLine.backup) {
        return kelvo::maintenance::runBackup(*commandLine.backup);
    }
    if (commandLine.restore) {
        return kelvo::maintenance::runRestore(*commandLine.restore);
    }
    if (commandLine.migrate) {
        return kelvo::maintenance::runMigrate(*commandLine.migrate);
    }
    if (commandLine.confirmClock) {
        return kelvo::maintenance::runClockConfirm(*commandLine.confirmClock);
    }
    if (commandLine.ready) {
        return kelvo::maintenance::runReady(*commandLine.ready);
    }
    if (commandLine.tls) {
        return kelvo::maintenance::runTls(*commandLine.tls);
    }
    if (!commandLine.serve) {
        return commandLine.exitCode;
    }
    kelvo::startLog(commandLine.serve->logLevel);
    kelvo::runService(*commandLine.serve);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    prepareProcess();
    try {
        kelvo::Output output;
        const int code = runCommand(kelvo::parseCommandLine(argc, argv));
        output.finish();
        return code;
    } catch (const kelvo::StartRefused& refusal) {
        std::fprintf(stderr, "kelvo-service: %s\n", refusal.what());
        return refused;
    } catch (const kelvo::OutputFailed& failure) {
        if (!failure.isClosedPipe()) {
            std::fprintf(stderr, "kelvo-service: %s\n", failure.what());
        }
        return failed;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kelvo-service: %s\n", error.what());
        return failed;
    }
}
