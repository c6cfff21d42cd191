// main() of a test program that needs Qt Gui and no widgets.
#pragma once

#include "support/TExpectedMessage.h"
#include "support/TestProcess.h"

#include <QtGui/QGuiApplication>

#define KELVO_GUI_TEST_MAIN(TTest)                                                                 \
    int main(int argc, char** argv)                                                                \
    {                                                                                              \
        return kelvo::test::RunTests<QGuiApplication, TTest>(argc, argv);                          \
    }
