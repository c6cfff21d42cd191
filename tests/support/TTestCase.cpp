#include "support/TTestCase.h"

#include "support/TMessageTrap.h"

namespace kelvo::test {

void TTestCase::initTestCase_data()
{
    TMessageTrap::Install();
}

void TTestCase::cleanup()
{
    TMessageTrap::FailForOtherThreads();
}

} // namespace kelvo::test
