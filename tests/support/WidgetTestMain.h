// main() of a test program that needs widgets.
#pragma once

#include "support/TExpectedMessage.h"
#include "support/TestProcess.h"

#include <QtWidgets/QApplication>

#define KELVO_WIDGET_TEST_MAIN(TTest)                                                              \
    int main(int argc, char** argv)                                                                \
    {                                                                                              \
        return kelvo::test::RunTests<QApplication, TTest>(argc, argv);                             \
    }
