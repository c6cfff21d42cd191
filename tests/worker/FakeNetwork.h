// The system's network interfaces, set by a test.
//
// A program with FakeNetwork.cpp among its sources uses these interfaces instead of the system's.
// FakeNetwork.cpp defines two operations of QNetworkInterface, and definitions of a program take
// precedence over those of a shared library.
#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace fakes {

// One for each process. Use it on one thread.
struct FakeNetwork
{
    static FakeNetwork& Instance();

    QMap<QString, QString> addresses; // of each interface that is valid, by name
    QStringList asked;                // the names that were looked up, in order
};

} // namespace fakes
