// One open event stream.
#pragma once

#include "service/base/Clock.h"
#include "service/events/EventBroker.h"
#include "service/http/Transport.h"
#include "service/store/Database.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace kelvo::events {

struct StreamSettings
{
    std::chrono::seconds heartbeat{60};
    std::chrono::seconds writeLimit{30};     // stall timeout: a slower peer is dropped
    std::uint64_t writeProgressBytes = 1024; // bytes within writeLimit that count as progress
};

/**
 * Sends a user the events after a cursor: first from the log, then as they are committed. Each
 * event is sent once, in order, without a gap. The stream ends if the peer leaves, the session
 * ends, the broker retires it or the log no longer holds the events after the cursor.
 *
 * Thread: the connection's. Ownership: lives within its connection; the other objects outlive it.
 */
class EventStream
{
public:
    /** Called after each heartbeat, with the session as the store has it. */
    using OnHeartbeat = std::function<Async<void>(const store::Session&)>;

    EventStream(std::shared_ptr<Subscription> subscription, store::Id cursor,
                store::Database& database, const Clock& clock, StreamSettings settings,
                OnHeartbeat onHeartbeat);

    Async<void> run(http::Transport& transport);

private:
    struct Watch;

    Async<void> sendAll(http::Transport& transport, const Watch& watch);
    Async<bool> sendFromLog(http::Transport& transport);
    Async<bool> sendQueued(http::Transport& transport);
    Async<bool> sendEnd(http::Transport& transport);
    Async<bool> sendHeartbeat(http::Transport& transport);
    Async<bool> send(http::Transport& transport, const std::string& text);
    void add(std::string& text, const store::Event& event);
    std::chrono::steady_clock::time_point nextWake() const;

    std::shared_ptr<Subscription> subscription_;
    store::Id cursor_;
    store::Database& database_;
    const Clock& clock_;
    StreamSettings settings_;
    OnHeartbeat onHeartbeat_;
    std::chrono::steady_clock::time_point lastSent_;
    bool behind_ = true; // the log may hold more events than the queue
};

} // namespace kelvo::events
