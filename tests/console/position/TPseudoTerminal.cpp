#include "console/position/TPseudoTerminal.h"

#include <array>

#include <fcntl.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

namespace kelvo::test {

TPseudoTerminal::TPseudoTerminal() : m_master(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
{
    std::array<char, 128> name = {};
    if (m_master < 0 || ::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0 ||
        ::ptsname_r(m_master, name.data(), name.size()) != 0) {
        qFatal("no pseudo terminal");
    }
    m_device = QString::fromLatin1(name.data());
}

TPseudoTerminal::~TPseudoTerminal()
{
    Unplug();
}

void TPseudoTerminal::Write(const QByteArray& bytes) const
{
    if (::write(m_master, bytes.constData(), static_cast<std::size_t>(bytes.size())) !=
        bytes.size()) {
        qFatal("the pseudo terminal is full");
    }
}

unsigned TPseudoTerminal::Speed() const
{
    termios settings = {};
    if (::tcgetattr(m_master, &settings) != 0) {
        qFatal("the pseudo terminal has no settings");
    }
    return ::cfgetispeed(&settings);
}

void TPseudoTerminal::Unplug()
{
    if (m_master >= 0) {
        ::close(m_master);
        m_master = -1;
    }
}

} // namespace kelvo::test
