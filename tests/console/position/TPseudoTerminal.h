// A serial line with the test at its other end.
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

    // What a receiver would be plugged into.
    QString Device() const { return m_device; }
    void Write(const QByteArray& bytes) const;
    // Of the line, in baud as termios has it.
    unsigned Speed() const;
    void Unplug();

private:
    int m_master = -1;
    QString m_device;
};

} // namespace kelvo::test
