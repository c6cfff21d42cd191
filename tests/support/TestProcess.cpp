// What a test program's main does before and after its tests.
#include "support/TestProcess.h"

#include "support/TMessageTrap.h"

#include <QtCore/QStandardPaths>

#include <cstdio>

namespace kelvo::test {

void PrepareProcess()
{
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
