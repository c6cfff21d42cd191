// Passes committed events to the open streams.
#pragma once

#include "service/base/Wakeup.h"
#include "service/store/Notice.h"
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

/** The events that one stream has to send. Thread: the stream's own; the broker posts there. */
class Subscription
{
public:
    Subscription(const asio::any_io_executor& executor, store::Session session);

    /**
     * Queues the event. If the queue is full it is cleared, and the stream reads the log instead.
     */
    void push(std::shared_ptr<const store::Event> event);
    void end(std::string reason);

    /** Ends the stream, but not its session. */
    void retire();

    /** Makes the stream read the log. */
    void overflow();

    /** Makes the stream ask the database whether its session has ended. */
    void doubt();

    const store::Session& session() const { return session_; }
    Wakeup& wakeup() { return wakeup_; }
    const asio::any_io_executor& executor() const { return executor_; }

    /** Null if the queue is empty. */
    std::shared_ptr<const store::Event> pop();

    /** Whether the log has to be read; resets the flag. */
    bool takeOverflow() { return std::exchange(overflowed_, false); }

    /** Whether the session may have ended; resets the flag. */
    bool takeDoubt() { return std::exchange(doubted_, false); }

    const std::optional<std::string>& endReason() const { return endReason_; }
    bool isRetired() const { return retired_; }

private:
    static constexpr std::size_t capacity = 256;

    asio::any_io_executor executor_;
    store::Session session_;
    Wakeup wakeup_;
    std::deque<std::shared_ptr<const store::Event>> queue_;
    bool overflowed_ = false;
    bool doubted_ = false;
    bool retired_ = false;
    std::optional<std::string> endReason_;
};

/**
 * All subscriptions of this process. Thread safe; never waits for a stream. Ownership: streams own
 * their subscriptions; the broker holds weak pointers.
 */
class EventBroker
{
public:
    std::shared_ptr<Subscription> subscribe(const asio::any_io_executor& executor,
                                            const store::Session& session);

    /** Call in the order of the events' ids. */
    void publish(const std::vector<store::Event>& events);

    /**
     * Another instance has committed something, or this instance may have. The streams of the farms
     * read their logs. The streams of the sessions ask whether they have ended.
     */
    void notice(const store::Notice& notice);

    void endSession(const std::string& tokenHash, const std::string& reason);
    /** Ends all sessions of the user but the kept one. */
    void endSessionsOf(store::Id user, const std::string& reason,
                       const std::string& keptTokenHash = {});

    /** Ends the oldest streams until `kept` are left. Their peers open new ones. */
    void retire(std::size_t kept);

    /** Without the retired streams. */
    std::size_t openStreams() const;

private:
    template <class Action>
    void forEach(Action action);

    mutable std::mutex mutex_;                              // guards subscriptions_
    std::deque<std::weak_ptr<Subscription>> subscriptions_; // in the order of their starts
};

} // namespace kelvo::events
