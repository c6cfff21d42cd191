#include "tests/fakes/FakeNotifier.h"

#include <algorithm>
#include <utility>

namespace fakes {

using kesdk::api::ISubscriable;

FakeNotifier::FakeNotifier() : m_thread([this] { Run(); }) {}

FakeNotifier::~FakeNotifier()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        m_work.clear();
        m_changed.notify_all();
    }
    m_thread.join();
}

void FakeNotifier::Subscribe(ISubscriable* listener)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (std::find(m_listeners.begin(), m_listeners.end(), listener) == m_listeners.end())
        m_listeners.push_back(listener);
}

void FakeNotifier::Unsubscribe(ISubscriable* listener)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_listeners.erase(std::remove(m_listeners.begin(), m_listeners.end(), listener),
                      m_listeners.end());
    if (std::this_thread::get_id() != m_thread.get_id())
        m_changed.wait(lock, [&] { return m_beingCalled != listener; });
}

void FakeNotifier::Post(std::function<void()> work)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_stopping)
        m_work.push_back(std::move(work));
    m_changed.notify_all();
}

void FakeNotifier::PostState(const kesdk::api::ConnectionState& state)
{
    Post([this, state] { CallState(state); });
}

void FakeNotifier::PostChange(const kesdk::api::IResourceChangeNotification::ResourceChange& change)
{
    Post([this, change] { CallChange(change); });
}

void FakeNotifier::CallState(const kesdk::api::ConnectionState& state)
{
    CallEach(kesdk::api::eServerConnectionEvents, [&](ISubscriable& listener) {
        if (auto* l = dynamic_cast<kesdk::api::IServerConnectionNotification*>(&listener))
            l->onServerConnectionChange(state);
    });
}

void FakeNotifier::CallChange(const kesdk::api::IResourceChangeNotification::ResourceChange& change)
{
    CallEach(kesdk::api::eResourceChangeEvents, [&](ISubscriable& listener) {
        if (auto* l = dynamic_cast<kesdk::api::IResourceChangeNotification*>(&listener))
            l->onResourceChange(change);
    });
}

void FakeNotifier::Drain()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    m_changed.wait(lock, [this] { return m_stopping || (m_work.empty() && !m_running); });
}

void FakeNotifier::Run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    while (!m_stopping) {
        m_changed.wait(lock, [this] { return m_stopping || !m_work.empty(); });
        if (m_work.empty())
            continue;
        const std::function<void()> work = std::move(m_work.front());
        m_work.pop_front();
        m_running = true;
        lock.unlock();
        work();
        lock.lock();
        m_running = false;
        m_changed.notify_all();
    }
}

void FakeNotifier::CallEach(std::int32_t eventType, const std::function<void(ISubscriable&)>& call)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const TListeners listeners = m_listeners;
    for (ISubscriable* listener : listeners) {
        // The listener may have been unsubscribed during the previous call.
        if (std::find(m_listeners.begin(), m_listeners.end(), listener) == m_listeners.end())
            continue;
        if (m_stopping || listener->SubscribedEvents().count(eventType) == 0)
            continue;
        m_beingCalled = listener;
        lock.unlock();
        call(*listener);
        lock.lock();
        m_beingCalled = nullptr;
        m_changed.notify_all();
    }
}

} // namespace fakes
