// Base of all QtTest classes.
#pragma once

#include <QtCore/QObject>

namespace kelvo::test {

// Puts the message trap in place. A test class that has a cleanup() of its own calls this one in
// it.
class TTestCase : public QObject
{
    Q_OBJECT

protected Q_SLOTS:
    void cleanup();

private Q_SLOTS:
    // The first that QtTest calls when its own message handler is in place.
    void initTestCase_data();
};

} // namespace kelvo::test
