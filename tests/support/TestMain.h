// main() of a test program that needs no GUI.
#pragma once

#include "support/TExpectedMessage.h"
#include "support/TestProcess.h"

#include <QtCore/QCoreApplication>

#define KELVO_TEST_MAIN(TTest)                                                                     \
    int main(int argc, char** argv)                                                                \
    {                                                                                              \
        return kelvo::test::RunTests<QCoreApplication, TTest>(argc, argv);                         \
    }
