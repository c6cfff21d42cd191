#include "service/events/EventBroker.h"

#include <boost/asio/post.hpp>

#include <algorithm>

namespace kelvo::events {

Subscription::Subscription(const asio::any_io_executor& executor, store::Session session)
    : executor_(executor), session_(std::move(session)), wakeup_(executor)
{}

void Subscription::push(std::shared_ptr<const store::Event> event)
{
    if (queue_.size() >= capacity) {
        overflow();
    }
    queue_.push_back(std::move(event));
    wakeup_.wake();
}

void Subscription::overflow()
{
    queue_.clear();
    overflowed_ = true;
    wakeup_.wake();
}

void Subscription::doubt()
{
    doubted_ = true;
    wakeup_.wake();
}

void Subscription::end(std::string reason)
{
    endReason_ = std::move(reason);
    wakeup_.wake();
}

void Subscription::retire()
{
    retired_ = true;
    wakeup_.wake();
}

std::shared_ptr<const store::Event> Subscription::pop()
{
    if (queue_.empty()) {
        return nullptr;
    }
    auto event = std::move(queue_.front());
    queue_.pop_front();
    return event;
}

std::shared_ptr<Subscription> EventBroker::subscribe(const asio::any_io_executor& executor,
                                                     const store::Session& session)
{
    auto subscription = std::make_shared<Subscription>(executor, session);
    const std::lock_guard lock(mutex_);
    std::erase_if(subscriptions_, [](const auto& one) { return one.expired(); });
    subscriptions_.push_back(subscription);
    return subscription;
}

template <class Action>
void EventBroker::forEach(Action action)
{
    const std::lock_guard lock(mutex_);
    for (const auto& weak : subscriptions_) {
        if (const auto subscription = weak.lock()) {
            action(subscription);
        }
    }
}

void EventBroker::publish(const std::vector<store::Event>& events)
{
    for (const store::Event& event : events) {
        const auto shared = std::make_shared<const store::Event>(event);
        forEach([&shared](const std::shared_ptr<Subscription>& subscription) {
            if (subscription->session().user.farmId() == shared->farm) {
                asio::post(subscription->executor(),
                           [subscription, shared] { subscription->push(shared); });
            }
        });
    }
}

void EventBroker::notice(const store::Notice& notice)
{
    forEach([&notice](const std::shared_ptr<Subscription>& subscription) {
        const store::Session& session = subscription->session();
        const bool hasEvents = notice.all || notice.farms.contains(session.user.farmId());
        const bool mayHaveEnded = notice.all || notice.users.contains(session.user.id) ||
                                  notice.tokens.contains(session.tokenHash);
        if (hasEvents || mayHaveEnded) {
            asio::post(subscription->executor(), [subscription, hasEvents, mayHaveEnded] {
                if (hasEvents) {
                    subscription->overflow();
                }
                if (mayHaveEnded) {
                    subscription->doubt();
                }
            });
        }
    });
}

void EventBroker::endSession(const std::string& tokenHash, const std::string& reason)
{
    forEach([&tokenHash, &reason](const std::shared_ptr<Subscription>& subscription) {
        if (subscription->session().tokenHash == tokenHash) {
            asio::post(subscription->executor(),
                       [subscription, reason] { subscription->end(reason); });
        }
    });
}

void EventBroker::endSessionsOf(store::Id user, const std::string& reason,
                                const std::string& keptTokenHash)
{
    forEach([&](const std::shared_ptr<Subscription>& subscription) {
        const store::Session& session = subscription->session();
        if (session.user.id == user && session.tokenHash != keptTokenHash) {
            asio::post(subscription->executor(),
                       [subscription, reason] { subscription->end(reason); });
        }
    });
}

void EventBroker::retire(std::size_t kept)
{
    const std::lock_guard lock(mutex_);
    std::erase_if(subscriptions_, [](const auto& one) { return one.expired(); });
    while (subscriptions_.size() > kept) {
        if (const auto oldest = subscriptions_.front().lock()) {
            asio::post(oldest->executor(), [oldest] { oldest->retire(); });
        }
        subscriptions_.pop_front();
    }
}

std::size_t EventBroker::openStreams() const
{
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(std::count_if(subscriptions_.begin(), subscriptions_.end(),
                                                  [](const auto& one) { return !one.expired(); }));
}

} // namespace kelvo::events
