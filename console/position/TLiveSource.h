// What a gpsd connection and a serial receiver have in common: they come back.
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

// Opens a connection, and again after it failed, ended, or brought no whole sentence for idleMs.
// The wait in between grows from one second to 30 and is short again once sentences have come for
// steadyMs: a receiver with a loose plug, which says a little each time, is an outage that lasts.
//
//   Start → opening → Opened → bytes, bytes, ... → Failed → waiting → opening → ...
//                   → Failed → waiting → opening
//
// Errors: told on the console's log once an outage, and when it is over. Only sentences count: a
// daemon without a receiver greets, and a line at a wrong speed brings bytes too.
class TLiveSource : public TPositionSource
{
public:
    // A peer that went away without a word is found out by this, or one that talks nonsense.
    static constexpr std::int64_t idleMs = 30000;
    // From a connection's first sentence to the one that ends the outage.
    static constexpr std::int64_t steadyMs = 10000;

    void Start() final;

protected:
    // `name`: for messages. Monitor and time must outlive it.
    TLiveSource(const QString& name, TPositionMonitor& monitor, TSourceTime& time);

    // Ends in OnOpened() or OnFailed(), now or later.
    virtual void Open() = 0;
    // Nothing of the old connection comes any more when it returns. Also when none is open.
    virtual void Close() = 0;

    void OnOpened();
    void OnBytes(std::string_view bytes);
    void OnFailed(const QString& reason);
    // For the destructors of derived classes: after Close().
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
    std::optional<std::int64_t> m_firstSentenceAtMs; // of this connection
    std::size_t m_failures = 0;                      // since sentences came for steadyMs
};

} // namespace console
