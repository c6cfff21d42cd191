#include "service/events/EventStream.h"

#include "service/events/Visibility.h"
#include "service/store/EventTable.h"
#include "service/store/SessionTable.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>

#include <array>
#include <exception>

namespace kelvo::events {

namespace {

using Steady = std::chrono::steady_clock;
constexpr int pageSize = 200;

struct Page
{
    store::EventBounds bounds;
    std::vector<store::Event> events;
};

struct Beat
{
    std::optional<store::Session> session;
    store::Id newest;
};

} // namespace

/** Notices when the peer closes while the stream sleeps. */
struct EventStream::Watch
{
    bool closed = false;
    bool finished = false;
    Wakeup done;

    explicit Watch(const asio::any_io_executor& executor) : done(executor) {}

    static Async<void> run(std::shared_ptr<Watch> watch, http::Transport& transport,
                           std::shared_ptr<Subscription> subscription)
    {
        std::array<char, 256> ignored;
        for (http::IoResult result; !result.error;) {
            result = co_await transport.readSome(asio::buffer(ignored));
        }
        watch->closed = true;
        watch->finished = true;
        subscription->wakeup().wake();
        watch->done.wake();
    }
};

EventStream::EventStream(std::shared_ptr<Subscription> subscription, store::Id cursor,
                         store::Database& database, const Clock& clock, StreamSettings settings,
                         OnHeartbeat onHeartbeat)
    : subscription_(std::move(subscription)),
      cursor_(cursor),
      database_(database),
      clock_(clock),
      settings_(settings),
      onHeartbeat_(std::move(onHeartbeat)),
      lastSent_(Steady::now())
{}

Async<void> EventStream::run(http::Transport& transport)
{
    transport.neverExpire();
    const auto watch = std::make_shared<Watch>(transport.executor());
    asio::co_spawn(transport.executor(), Watch::run(watch, transport, subscription_),
                   asio::detached);
    std::exception_ptr failure;
    try {
        co_await sendAll(transport, *watch);
    } catch (...) {
        failure = std::current_exception(); // await is not allowed in a catch block
    }
    // The watch uses the transport, so it has to end before this function does.
    co_await transport.shutdownSend();
    transport.expireAfter(std::chrono::seconds(2));
    while (!watch->finished) {
        co_await watch->done.sleepUntil(Steady::time_point::max());
    }
    if (failure) {
        std::rethrow_exception(failure);
    }
}

Async<void> EventStream::sendAll(http::Transport& transport, const Watch& watch)
{
    bool open = co_await send(transport, ": connected\n\n");
    while (open && !watch.closed) {
        if (subscription_->takeOverflow() || behind_) {
            open = co_await sendFromLog(transport);
        } else {
            open = co_await sendQueued(transport);
        }
        if (!open || behind_) {
            continue;
        }
        if (subscription_->endReason() ||
            clock_.expiryNow().hasReached(subscription_->session().expiresMs)) {
            co_await sendEnd(transport);
            break;
        }
        if (subscription_->isRetired()) {
            break;
        }
        co_await subscription_->wakeup().sleepUntil(nextWake());
        const bool isDoubted = subscription_->takeDoubt();
        if (isDoubted || Steady::now() >= lastSent_ + settings_.heartbeat) {
            open = co_await sendHeartbeat(transport);
        }
    }
}

Async<bool> EventStream::sendFromLog(http::Transport& transport)
{
    const store::Id farm = subscription_->session().user.farmId();
    const store::Id cursor = cursor_;
    if (farm == 0) {
        behind_ = false;
        co_return true;
    }
    auto query = [farm, cursor](soci::session& sql) {
        return Page{store::eventBounds(sql, farm), store::eventsAfter(sql, farm, cursor, pageSize)};
    };
    const Page page = co_await database_.read(query, farm);
    if (!page.bounds.contains(cursor_)) {
        co_return false; // the peer gets cursor-too-old when it reconnects
    }
    behind_ = page.events.size() == pageSize;
    std::string text;
    for (const store::Event& event : page.events) {
        add(text, event);
    }
    co_return co_await send(transport, text);
}

Async<bool> EventStream::sendQueued(http::Transport& transport)
{
    std::string text;
    while (const auto event = subscription_->pop()) {
        if (event->id == cursor_ + 1) {
            add(text, *event);
        } else if (event->id > cursor_) {
            behind_ = true; // an event before it is missing here: the log has all
            break;
        }
    }
    co_return co_await send(transport, text);
}

void EventStream::add(std::string& text, const store::Event& event)
{
    const std::string_view data = dataFor(event, subscription_->session().user);
    if (!data.empty()) {
        text += asServerSentEvent(event, data);
    }
    cursor_ = event.id;
}

Async<bool> EventStream::sendEnd(http::Transport& transport)
{
    co_return co_await send(transport,
                            sessionEndedEvent(subscription_->endReason().value_or("expired")));
}

Async<bool> EventStream::sendHeartbeat(http::Transport& transport)
{
    // Another process may have ended the session. An event may have come later than its notice.
    auto query = [this](soci::session& sql) {
        const store::Session& session = subscription_->session();
        return Beat{store::findSession(sql, session.tokenHash, clock_.expiryNow()),
                    store::eventBounds(sql, session.user.farmId()).newest};
    };
    const auto [session, newest] = co_await database_.read(query);
    if (!session) {
        const bool expired = clock_.expiryNow().hasReached(subscription_->session().expiresMs);
        subscription_->end(expired ? "expired" : "revoked");
        co_return true;
    }
    behind_ = newest > cursor_;
    const bool open = co_await send(transport, ":\n\n");
    if (open) {
        co_await onHeartbeat_(*session);
    }
    co_return open;
}

Async<bool> EventStream::send(http::Transport& transport, const std::string& text)
{
    if (text.empty()) {
        co_return true;
    }
    transport.expectProgress(settings_.writeLimit, settings_.writeProgressBytes);
    const auto error = co_await transport.write(asio::buffer(text));
    transport.neverExpire();
    lastSent_ = Steady::now();
    co_return !error;
}

Steady::time_point EventStream::nextWake() const
{
    const std::chrono::milliseconds sessionLeft(subscription_->session().expiresMs -
                                                clock_.expiryNow().ms);
    // Capped at an hour, so that a session of years does not overflow the timer.
    return std::min(lastSent_ + settings_.heartbeat,
                    Steady::now() +
                        std::min<std::chrono::milliseconds>(
                            sessionLeft + std::chrono::milliseconds(1), std::chrono::hours(1)));
}

} // namespace kelvo::events
