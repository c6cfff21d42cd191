#include "console/session/TLineSource.h"

#include <array>
#include <cerrno>
#include <utility>

#include <unistd.h>

namespace console {

TLineSource::TLineSource(int descriptor, TOnLine onLine, TOnEnd onEnd)
    : m_onLine(std::move(onLine)),
      m_onEnd(std::move(onEnd)),
      m_notifier(descriptor, QSocketNotifier::Read)
{
    connect(&m_notifier, &QSocketNotifier::activated, this, &TLineSource::OnReadable);
}

void TLineSource::OnReadable()
{
    std::array<char, 4096> buffer;
    const ssize_t count =
        ::read(static_cast<int>(m_notifier.socket()), buffer.data(), buffer.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) {
        return;
    }
    if (count > 0) {
        m_pending.append(buffer.data(), static_cast<int>(count));
        DeliverLines();
        return;
    }
    m_notifier.setEnabled(false);
    if (!m_pending.isEmpty()) {
        m_onLine(QString::fromUtf8(m_pending));
    }
    m_onEnd();
}

void TLineSource::DeliverLines()
{
    int begin = 0;
    for (int end; (end = m_pending.indexOf('\n', begin)) >= 0; begin = end + 1) {
        m_onLine(QString::fromUtf8(m_pending.constData() + begin, end - begin));
    }
    m_pending.remove(0, begin);
}

} // namespace console
