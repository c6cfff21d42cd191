// The parts of a test program's main before and after its tests.
#pragma once

#include "support/TTestCase.h"

#include <QtTest/QTest>

#include <type_traits>

namespace kelvo::test {

// Sets the offscreen platform and test folders instead of the user's, and installs the message
// trap.
void PrepareProcess();
// Returns the exit code. It is not 0 if a test failed or a message was not expected.
int FinishProcess(int failedTests);

template <typename TApplication, typename TTest>
int RunTests(int argumentCount, char** arguments)
{
    static_assert(std::is_base_of_v<TTestCase, TTest>, "derive tests from kelvo::test::TTestCase");
    PrepareProcess();
    const TApplication application(argumentCount, arguments);
    int failedTests = 0;
    {
        TTest tests;
        failedTests = QTest::qExec(&tests, argumentCount, arguments);
        PrepareProcess(); // QtTest has removed its handler and the trap
    }
    return FinishProcess(failedTests);
}

} // namespace kelvo::test
