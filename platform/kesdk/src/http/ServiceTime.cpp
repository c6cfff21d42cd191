#include "http/ServiceTime.h"

namespace kesdk::impl {

void ServiceTime::Note(std::int64_t toldS)
{
    const std::lock_guard lock(m_mutex);
    m_told = Told{toldS, m_console.now(), m_console.asleep()};
}

std::optional<std::int64_t> ServiceTime::NowS() const
{
    const std::lock_guard lock(m_mutex);
    if (!m_told)
        return std::nullopt;
    const auto passed = m_console.now() - m_told->at + m_console.asleep() - m_told->asleep;
    return m_told->seconds + std::chrono::duration_cast<std::chrono::seconds>(passed).count();
}

std::int64_t ServiceTime::ConfirmedWallTimeS() const
{
    const std::int64_t wallS = m_console.wallTimeS();
    const std::optional<std::int64_t> toldS = NowS();
    return toldS && !IsClockWrong(wallS, toldS) ? wallS : -1;
}

bool ServiceTime::IsConsoleOff() const
{
    const std::optional<std::int64_t> toldS = NowS();
    return toldS && IsClockWrong(m_console.wallTimeS(), toldS);
}

} // namespace kesdk::impl
