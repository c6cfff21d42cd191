#include "console/position/TLogSource.h"

#include "console/position/PositionLog.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr qint64 maxLineBytes = 4096; // the rest of a longer line counts as the next line
constexpr int linesAtOnce = 256;      // then the event loop runs
constexpr std::int64_t dayMs = std::int64_t{24} * 60 * 60 * 1000;

std::string_view View(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

} // namespace

namespace console {

TLogSource::TLogSource(const QString& path, double speed, TPositionMonitor& monitor,
                       TSourceTime& time)
    : m_file(path),
      m_speed(speed),
      m_monitor(monitor),
      m_feed(monitor),
      m_time(time),
      m_timer(time.MakeTimer([this] { OnTimer(); }))
{}

TLogSource::~TLogSource()
{
    End();
}

void TLogSource::Start()
{
    if (!m_file.open(QIODevice::ReadOnly)) {
        qCWarning(lcPosition, "The log %s cannot be read: %s", qUtf8Printable(m_file.fileName()),
                  qUtf8Printable(m_file.errorString()));
        End();
        return;
    }
    m_startedAtMs = m_time.NowMs();
    m_monitor.OnSource(ESourceState::eRunning);
    WakeAt(0);
}

void TLogSource::OnTimer()
{
    m_logMs = m_wakeAtMs;
    m_feed.Tick(m_logMs);
    Play();
}

void TLogSource::Play()
{
    for (int lines = 0; lines < linesAtOnce; ++lines) {
        if (m_line.isEmpty() && !ReadLine()) {
            End();
            return;
        }
        if (m_lineDueMs > m_logMs) {
            WakeAt(std::min(m_lineDueMs, m_feed.DeadlineMs().value_or(m_lineDueMs)));
            return;
        }
        m_feed.Take(View(m_line), m_logMs);
        m_line.clear();
    }
    WakeAt(m_logMs);
}

bool TLogSource::ReadLine()
{
    m_line = m_file.readLine(maxLineBytes);
    if (m_line.isEmpty()) {
        return false;
    }
    m_lineDueMs = DueMs(m_line);
    return true;
}

std::int64_t TLogSource::DueMs(const QByteArray& line)
{
    TNmeaSentence sentence;
    const QByteArray text = line.mid(line.indexOf('$')).trimmed();
    if (ReadSentence(View(text), sentence) != EReading::eRead || !sentence.time) {
        return m_lineDueMs;
    }
    const std::int64_t timeOfDayMs = sentence.time->sinceMidnightMs;
    std::int64_t gapMs = (timeOfDayMs - m_lastTimeOfDayMs.value_or(timeOfDayMs) + dayMs) % dayMs;
    m_lastTimeOfDayMs = timeOfDayMs;
    if (gapMs > dayMs / 2) {
        gapMs = 0; // the time went back
    }
    return m_lineDueMs + std::min(gapMs, maxGapMs);
}

// Computed from the start of the log, so that delays do not add up.
void TLogSource::WakeAt(std::int64_t logMs)
{
    m_wakeAtMs = logMs;
    const auto realMs =
        static_cast<std::int64_t>(std::llround(static_cast<double>(logMs) / m_speed));
    m_timer->Start(std::max<std::int64_t>(0, m_startedAtMs + realMs - m_time.NowMs()));
}

void TLogSource::End()
{
    m_timer->Stop();
    m_file.close();
    m_feed.End();
    m_monitor.OnSource(ESourceState::eEnded);
}

} // namespace console
