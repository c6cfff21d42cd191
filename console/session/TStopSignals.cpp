#include "console/session/TStopSignals.h"

#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace {

volatile std::sig_atomic_t handlerPipe = -1; // the signal handler writes to this

extern "C" void WriteSignalNumber(int signalNumber)
{
    const int savedErrno = errno;
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    const auto byte = static_cast<unsigned char>(signalNumber);
    // The write cannot fail: the pipe is almost empty and its reader exists.
    [[maybe_unused]] const ssize_t written = ::write(handlerPipe, &byte, 1);
    errno = savedErrno;
}

int OpenPipe(int& writeEnd)
{
    int ends[2] = {-1, -1};
    if (::pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0) {
        qFatal("The console cannot create a pipe.");
    }
    writeEnd = ends[1];
    return ends[0];
}

} // namespace

namespace console {

TStopSignals::TStopSignals(std::function<void(int)> onStop)
    : m_onStop(std::move(onStop)),
      m_readEnd(OpenPipe(m_writeEnd)),
      m_notifier(m_readEnd, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &TStopSignals::OnReadable);
    handlerPipe = m_writeEnd;
    struct sigaction action = {};
    action.sa_handler = WriteSignalNumber;
    action.sa_flags = SA_RESTART;
    ::sigaction(SIGINT, &action, nullptr);
    ::sigaction(SIGTERM, &action, nullptr);
}

TStopSignals::~TStopSignals()
{
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    ::close(m_writeEnd);
    ::close(m_readEnd);
}

void TStopSignals::OnReadable()
{
    unsigned char signalNumber = 0;
    if (::read(m_readEnd, &signalNumber, 1) == 1) {
        m_onStop(signalNumber);
    }
}

} // namespace console
