#include "connection/NotificationDispatcher.h"

#include <pthread.h>

namespace kesdk::impl {

NotificationDispatcher::NotificationDispatcher() : m_thread([this] { Run(); }) {}

NotificationDispatcher::~NotificationDispatcher()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isStopping = true;
    }
    m_changed.notify_all();
    m_thread.join();
}

void NotificationDispatcher::Subscribe(api::ISubscriable* listener)
{
    if (!listener)
        return;
    const api::EEventTypes& wanted = listener->SubscribedEvents();
    Listener entry{0, nullptr, nullptr};
    if (wanted.count(api::eServerConnectionEvents) > 0)
        entry.connection = dynamic_cast<api::IServerConnectionNotification*>(listener);
    if (wanted.count(api::eResourceChangeEvents) > 0)
        entry.resources = dynamic_cast<api::IResourceChangeNotification*>(listener);
    const std::lock_guard lock(m_mutex);
    entry.firstNumber = m_nextNumber;
    m_listeners.emplace(listener, entry); // a second Subscribe changes nothing
}

void NotificationDispatcher::Unsubscribe(api::ISubscriable* listener)
{
    std::unique_lock lock(m_mutex);
    m_listeners.erase(listener);
    if (std::this_thread::get_id() != m_thread.get_id())
        m_changed.wait(lock, [&] { return m_running != listener; });
}

void NotificationDispatcher::Post(const Notification& notification)
{
    {
        const std::lock_guard lock(m_mutex);
        m_queue.push_back({m_nextNumber++, notification});
    }
    m_changed.notify_all();
}

void NotificationDispatcher::Post(const std::vector<ResourceChange>& changes)
{
    for (const ResourceChange& change : changes)
        Post(Notification(change));
}

void NotificationDispatcher::Run()
{
    ::pthread_setname_np(::pthread_self(), "kesdk-notify");
    std::unique_lock lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_isStopping || !m_queue.empty(); });
        if (m_isStopping)
            return;
        const Queued queued = m_queue.front();
        m_queue.pop_front();
        Deliver(queued, lock);
    }
}

// Listeners may come and go during a call, so each one is looked up again.
void NotificationDispatcher::Deliver(const Queued& queued, std::unique_lock<std::mutex>& lock)
{
    std::vector<api::ISubscriable*> present;
    for (const auto& [listener, entry] : m_listeners)
        present.push_back(listener);
    for (api::ISubscriable* listener : present) {
        const auto found = m_listeners.find(listener);
        if (m_isStopping || found == m_listeners.end() || found->second.firstNumber > queued.number)
            continue;
        const Listener entry = found->second;
        m_running = listener;
        lock.unlock();
        Call(entry, queued.notification);
        lock.lock();
        m_running = nullptr;
        m_changed.notify_all();
    }
}

void NotificationDispatcher::Call(const Listener& listener, const Notification& notification)
{
    try {
        if (const auto* state = std::get_if<api::ConnectionState>(&notification)) {
            if (listener.connection)
                listener.connection->onServerConnectionChange(*state);
        } else if (listener.resources) {
            listener.resources->onResourceChange(std::get<ResourceChange>(notification));
        }
    } catch (...) {
        // An exception of one listener must not keep the others from their notification.
    }
}

} // namespace kesdk::impl
