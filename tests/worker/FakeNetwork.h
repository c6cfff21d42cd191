// The system's network interfaces, as a test wants them.
//
// A program that lists FakeNetwork.cpp among its sources has these in place of the system's: two
// operations of QNetworkInterface are defined there, and the program's own definitions come before
// a shared library's.
#pragma once

#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

namespace fakes {

// One a process; for one thread.
struct FakeNetwork
{
    static FakeNetwork& Instance();

    QMap<QString, QString> addresses; // of each interface that is valid, by name
    QStringList asked;                // the names that were looked up, in order
};

} // namespace fakes
