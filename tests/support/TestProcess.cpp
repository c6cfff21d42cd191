#include "support/TestProcess.h"

#include "support/TMessageTrap.h"

#include <QtCore/QFile>
#include <QtCore/QStandardPaths>
#include <QtCore/QTemporaryDir>

#include <cstdio>
#include <memory>

namespace {

std::unique_ptr<QTemporaryDir>& RuntimeFolder()
{
    static std::unique_ptr<QTemporaryDir> folder;
    return folder;
}

} // namespace

namespace kelvo::test {

void PrepareProcess()
{
    // Qt warns if the variable is not set, as on a build server.
    if (!qEnvironmentVariableIsSet("XDG_RUNTIME_DIR")) {
        RuntimeFolder() = std::make_unique<QTemporaryDir>();
        qputenv("XDG_RUNTIME_DIR", QFile::encodeName(RuntimeFolder()->path()));
    }
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) {
        qputenv("QT_QPA_PLATFORM", "offscreen");
    }
    QStandardPaths::setTestModeEnabled(true);
    TMessageTrap::Install();
}

int FinishProcess(int failedTests)
{
    const int unexpected = TMessageTrap::UnexpectedCount();
    if (unexpected == 0) {
        return failedTests;
    }
    std::fprintf(stderr, "%d unexpected message(s), see above.\n", unexpected);
    return failedTests == 0 ? 1 : failedTests;
}

} // namespace kelvo::test
