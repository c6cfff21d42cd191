#include "console/position/TLiveSource.h"

#include "console/position/PositionLog.h"

#include <algorithm>
#include <array>

namespace {

// No jitter: a receiver has one console only.
constexpr std::array<std::int64_t, 6> retryDelaysMs = {1000, 2000, 4000, 8000, 16000, 30000};

} // namespace

namespace console {

TLiveSource::TLiveSource(const QString& name, TPositionMonitor& monitor, TSourceTime& time)
    : m_name(name),
      m_monitor(monitor),
      m_feed(monitor),
      m_time(time),
      m_retry(time.MakeTimer([this] { TryToOpen(); })),
      m_silence(time.MakeTimer([this] { OnSilence(); })),
      m_idle(time.MakeTimer([this] { OnFailed(QStringLiteral("no NMEA sentence comes")); }))
{}

void TLiveSource::Start()
{
    TryToOpen();
}

void TLiveSource::TryToOpen()
{
    m_monitor.OnSource(ESourceState::eConnecting);
    Open();
}

void TLiveSource::OnOpened()
{
    m_idle->Start(idleMs);
}

void TLiveSource::OnBytes(std::string_view bytes)
{
    const std::uint64_t sentencesBefore = m_feed.WholeSentences();
    const std::int64_t nowMs = m_time.NowMs();
    m_feed.Take(bytes, nowMs);
    if (m_feed.WholeSentences() > sentencesBefore) {
        OnSentences(nowMs);
    }
    if (m_feed.DeadlineMs()) {
        m_silence->Start(*m_feed.DeadlineMs() - nowMs);
    } else {
        m_silence->Stop();
    }
}

void TLiveSource::OnSentences(std::int64_t nowMs)
{
    if (!m_firstSentenceAtMs) {
        m_firstSentenceAtMs = nowMs;
    }
    if (m_failures > 0 && nowMs - *m_firstSentenceAtMs >= steadyMs) {
        qCInfo(lcPosition, "%s: NMEA sentences come again.", qUtf8Printable(m_name));
        m_failures = 0;
    }
    m_monitor.OnSource(ESourceState::eRunning);
    m_idle->Start(idleMs);
}

void TLiveSource::OnSilence()
{
    m_feed.Tick(m_time.NowMs());
    if (m_feed.DeadlineMs()) { // the timer was early
        m_silence->Start(*m_feed.DeadlineMs() - m_time.NowMs());
    }
}

void TLiveSource::OnFailed(const QString& reason)
{
    Close();
    m_idle->Stop();
    m_silence->Stop();
    m_feed.End();
    m_firstSentenceAtMs.reset();
    if (m_failures == 0) {
        qCWarning(lcPosition, "%s: %s. Retrying until it works.", qUtf8Printable(m_name),
                  qUtf8Printable(reason));
    }
    m_retry->Start(retryDelaysMs[std::min(m_failures, retryDelaysMs.size() - 1)]);
    ++m_failures;
    m_monitor.OnSource(ESourceState::eConnecting);
}

void TLiveSource::End()
{
    m_retry->Stop();
    m_silence->Stop();
    m_idle->Stop();
    m_feed.End();
}

} // namespace console
