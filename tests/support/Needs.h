// Skips tests on a machine that lacks what they need. In CI such a test fails.
#pragma once

#include <QtTest/QtTest>

// Skips the test function, or fails it in CI, unless `isThere`.
#define KELVO_NEEDS(isThere, what)                                                                 \
    do {                                                                                           \
        if (isThere) {                                                                             \
            break;                                                                                 \
        }                                                                                          \
        if (!qEnvironmentVariableIsEmpty("CI")) {                                                  \
            QFAIL("missing in CI: " what);                                                         \
        }                                                                                          \
        QSKIP("missing: " what);                                                                   \
    } while (false)
