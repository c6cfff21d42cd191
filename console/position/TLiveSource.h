// Base of the sources that reconnect: gpsd and serial receivers.
#pragma once

#include "console/position/SourceTime.h"
#include "console/position/TPositionFeed.h"
#include "console/position/TPositionSource.h"

#include <QtCore/QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

namespace console {

// Opens a connection. If the connection fails, ends, or brings no whole sentence for idleMs, the
// source opens it again. The backoff grows from 1 s to 30 s. Sentences for steadyMs end the outage
// and reset the backoff; a receiver with a loose plug sends sentences for less time than that.
//
//   Start → opening → Opened → bytes, bytes, ... → Failed → waiting → opening → ...
//                   → Failed → waiting → opening
//
// Errors: each outage writes one line to the log, and its end another line. Only whole sentences
// end an outage: a daemon without a receiver and a line at a wrong baud rate also bring bytes.
class TLiveSource : public TPositionSource
{
public:
    // Detects a peer that has silently gone or that sends no NMEA.
    static constexpr std::int64_t idleMs = 30000;
    // Time from a connection's first sentence to the sentence that ends the outage.
    static constexpr std::int64_t steadyMs = 10000;

    void Start() final;

protected:
    // `name` is for log lines. The monitor and the time must outlive the source.
    TLiveSource(const QString& name, TPositionMonitor& monitor, TSourceTime& time);

    // Calls OnOpened() or OnFailed(), now or later.
    virtual void Open() = 0;
    // Closes the connection, if one is open. After the return no call comes from it.
    virtual void Close() = 0;

    void OnOpened();
    void OnBytes(std::string_view bytes);
    void OnFailed(const QString& reason);
    // The destructors of derived classes call it after Close().
    void End();

private:
    void TryToOpen();
    void OnSilence();
    void OnSentences(std::int64_t nowMs);

    const QString m_name;
    TPositionMonitor& m_monitor;
    TPositionFeed m_feed;
    TSourceTime& m_time;
    std::unique_ptr<TSourceTimer> m_retry;
    std::unique_ptr<TSourceTimer> m_silence; // the feed's deadline
    std::unique_ptr<TSourceTimer> m_idle;
    std::optional<std::int64_t> m_firstSentenceAtMs; // in this connection
    std::size_t m_failures = 0;                      // since sentences came for steadyMs
};

} // namespace console
