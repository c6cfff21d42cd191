// What a test program's main does before and after its tests.
#pragma once

#include "support/TTestCase.h"

#include <QtTest/QTest>

#include <type_traits>

namespace kelvo::test {

// No display, no folder of the user's own, messages trapped.
void PrepareProcess();
// The exit code: not 0 if a test failed or a message was not expected.
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
        PrepareProcess(); // QtTest has taken its own handler away, and the trap with it
    }
    return FinishProcess(failedTests);
}

} // namespace kelvo::test
