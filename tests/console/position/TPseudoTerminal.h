// A serial line. The test writes at its other end.
#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

namespace kelvo::test {

class TPseudoTerminal
{
public:
    TPseudoTerminal();
    ~TPseudoTerminal();
    TPseudoTerminal(const TPseudoTerminal&) = delete;
    TPseudoTerminal& operator=(const TPseudoTerminal&) = delete;

    // The path of the serial port.
    QString Device() const { return m_device; }
    void Write(const QByteArray& bytes) const;
    // The rate of the line, as a constant of termios.
    unsigned Speed() const;
    void Unplug();

private:
    int m_master = -1;
    QString m_device;
};

} // namespace kelvo::test
