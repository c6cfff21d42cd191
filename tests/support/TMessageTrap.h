// Makes a test program fail on every warning that it does not expect.
#pragma once

#include <QtCore/QtGlobal>

namespace kelvo::test {

// Takes Qt's messages of level warning and critical, of any thread. One that nobody expects
// (TExpectedMessage) fails the test function that runs, and the program in any case: its exit code
// is never 0. All other messages go where they went before.
class TMessageTrap
{
public:
    TMessageTrap() = delete;

    // Puts the trap in front of the message handler that is there. Again after QtTest has put its
    // own in front.
    static void Install();
    // Fails the current test function for what other threads said. Main thread.
    static void FailForOtherThreads();
    static int UnexpectedCount();
};

} // namespace kelvo::test
