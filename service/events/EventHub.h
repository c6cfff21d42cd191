// Hands committed events to the open streams.
#pragma once

#include "service/base/Wakeup.h"
#include "service/store/Records.h"

#include <atomic>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace kelvo::events {

/**
 * What one stream is to send. Thread: the stream's own; the hub posts there.
 */
class Subscription
{
public:
    Subscription(const asio::any_io_executor& executor, store::Session session);

    /** Queues the event; with too many waiting it forgets them all, and the stream reads the log.
     */
    void push(std::shared_ptr<const store::Event> event);
    void end(std::string reason);

    /** Has the stream read the log. */
    void overflow();

    const store::Session& session() const { return session_; }
    Wakeup& wakeup() { return wakeup_; }
    const asio::any_io_executor& executor() const { return executor_; }

    /** Empty when there is none. */
    std::shared_ptr<const store::Event> pop();

    /** Whether the log is to be read, since the last call. */
    bool takeOverflow() { return std::exchange(overflowed_, false); }

    const std::optional<std::string>& endReason() const { return endReason_; }

private:
    static constexpr std::size_t capacity = 256;

    asio::any_io_executor executor_;
    store::Session session_;
    Wakeup wakeup_;
    std::deque<std::shared_ptr<const store::Event>> queue_;
    bool overflowed_ = false;
    std::optional<std::string> endReason_;
};

/**
 * All subscriptions of this process. Thread safe; never blocks on a stream.
 * Ownership: streams own their subscriptions, the hub only knows of them.
 */
class EventHub
{
public:
    std::shared_ptr<Subscription> subscribe(const asio::any_io_executor& executor,
                                            const store::Session& session);

    /** Called in the order of the events' ids. */
    void publish(const std::vector<store::Event>& events);

    /** For these farms the log may hold what was never published: their streams read it. */
    void reread(const std::set<store::Id>& farms);

    void endSession(const std::string& tokenHash, const std::string& reason);
    void endSessionsOf(store::Id user, const std::string& reason);

    std::size_t openStreams() const;

private:
    template <class Action>
    void forEach(Action action);

    mutable std::mutex mutex_; // guards subscriptions_
    std::vector<std::weak_ptr<Subscription>> subscriptions_;
};

} // namespace kelvo::events
