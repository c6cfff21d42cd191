#include "service/events/EventHub.h"

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

void Subscription::end(std::string reason)
{
    endReason_ = std::move(reason);
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

std::shared_ptr<Subscription> EventHub::subscribe(const asio::any_io_executor& executor,
                                                  const store::Session& session)
{
    auto subscription = std::make_shared<Subscription>(executor, session);
    const std::lock_guard lock(mutex_);
    std::erase_if(subscriptions_, [](const auto& one) { return one.expired(); });
    subscriptions_.push_back(subscription);
    return subscription;
}

template <class Action>
void EventHub::forEach(Action action)
{
    const std::lock_guard lock(mutex_);
    for (const auto& weak : subscriptions_) {
        if (const auto subscription = weak.lock()) {
            action(subscription);
        }
    }
}

void EventHub::publish(const std::vector<store::Event>& events)
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

void EventHub::reread(const std::set<store::Id>& farms)
{
    forEach([&farms](const std::shared_ptr<Subscription>& subscription) {
        if (farms.contains(subscription->session().user.farmId())) {
            asio::post(subscription->executor(), [subscription] { subscription->overflow(); });
        }
    });
}

void EventHub::endSession(const std::string& tokenHash, const std::string& reason)
{
    forEach([&tokenHash, &reason](const std::shared_ptr<Subscription>& subscription) {
        if (subscription->session().tokenHash == tokenHash) {
            asio::post(subscription->executor(),
                       [subscription, reason] { subscription->end(reason); });
        }
    });
}

void EventHub::endSessionsOf(store::Id user, const std::string& reason,
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

std::size_t EventHub::openStreams() const
{
    const std::lock_guard lock(mutex_);
    return static_cast<std::size_t>(std::count_if(subscriptions_.begin(), subscriptions_.end(),
                                                  [](const auto& one) { return !one.expired(); }));
}

} // namespace kelvo::events
