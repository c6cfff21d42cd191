// The base of all QtTest classes.
#pragma once

#include <QtCore/QObject>

namespace kelvo::test {

// Installs the message trap. A test class with its own cleanup() calls this cleanup() too.
class TTestCase : public QObject
{
    Q_OBJECT

protected Q_SLOTS:
    void cleanup();

private Q_SLOTS:
    // The first slot that QtTest calls after it has installed its message handler.
    void initTestCase_data();
};

} // namespace kelvo::test
