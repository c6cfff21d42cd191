// Counts the receivers of a signal.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QObject>

namespace fakes {

// Gives access to QObject's protected count.
class Receivers : public QObject
{
public:
    // `signature` is normalised and without the macro: "KelvoLoggedIn()".
    static int Of(const QObject* sender, const char* signature)
    {
        const QByteArray signal = QByteArray(1, '0' + QSIGNAL_CODE) + signature;
        return (sender->*&Receivers::receivers)(signal.constData());
    }
};

} // namespace fakes
