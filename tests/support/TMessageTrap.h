// Makes a test program fail on every warning that it does not expect.
#pragma once

#include <QtCore/QtGlobal>

namespace kelvo::test {

// Handles Qt's messages of level warning and critical, from any thread. A message without a
// TExpectedMessage fails the running test function, and the program's exit code is never 0. All
// other messages go to the previous handler.
class TMessageTrap
{
public:
    TMessageTrap() = delete;

    // Installs the trap before the current message handler. Call it again after QtTest has
    // installed its handler.
    static void Install();
    // Fails the current test function if other threads had unexpected messages. Main thread.
    static void FailForOtherThreads();
    static int UnexpectedCount();
};

} // namespace kelvo::test
