// Calls the listeners on the notification thread.
#pragma once

#include "kesdk/api/IResourceChangeNotification.h"
#include "kesdk/api/IServerConnectionNotification.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <thread>
#include <variant>
#include <vector>

namespace kesdk::impl {

// Delivers notifications in the order of the Post calls. Each goes to the listeners that were
// subscribed at that moment.
//
// Thread safety: safe. The listeners belong to the callers. After Unsubscribe or the destructor has
// returned, no call of the listener is running or will start. Inside a listener's call, Unsubscribe
// returns at once, and the running call is the last.
class NotificationDispatcher
{
public:
    using ResourceChange = api::IResourceChangeNotification::ResourceChange;
    using Notification = std::variant<api::ConnectionState, ResourceChange>;

    NotificationDispatcher();
    // Not from a listener's call. Drops the queued notifications.
    ~NotificationDispatcher();
    NotificationDispatcher(const NotificationDispatcher&) = delete;
    NotificationDispatcher& operator=(const NotificationDispatcher&) = delete;

    void Subscribe(api::ISubscriable* listener);
    void Unsubscribe(api::ISubscriable* listener);

    void Post(const Notification& notification);
    void Post(const std::vector<ResourceChange>& changes);

private:
    struct Queued
    {
        std::uint64_t number;
        Notification notification;
    };
    struct Listener
    {
        std::uint64_t firstNumber; // earlier notifications are not delivered to it
        api::IServerConnectionNotification* connection;
        api::IResourceChangeNotification* resources;
    };

    void Run();
    void Deliver(const Queued& queued, std::unique_lock<std::mutex>& lock);
    static void Call(const Listener& listener, const Notification& notification);

    std::mutex m_mutex; // guards everything below but the thread
    std::condition_variable m_changed;
    std::deque<Queued> m_queue;
    std::map<api::ISubscriable*, Listener> m_listeners;
    api::ISubscriable* m_running = nullptr; // the listener that is called now
    std::uint64_t m_nextNumber = 1;
    bool m_isStopping = false;
    std::thread m_thread;
};

} // namespace kesdk::impl
