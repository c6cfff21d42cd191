// The fake SDK's notification thread.
#pragma once

#include "kesdk/api/IResourceChangeNotification.h"
#include "kesdk/api/IServerConnectionNotification.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace fakes {

// Calls the listeners one after the other on one thread, which runs during the lifetime of this
// object. After Unsubscribe or the destructor returns, no listener call is running or will start.
// The destructor drops waiting work.
//
// Thread safety: from any thread.
class FakeNotifier
{
public:
    FakeNotifier();
    ~FakeNotifier();

    void Subscribe(kesdk::api::ISubscriable* listener);
    void Unsubscribe(kesdk::api::ISubscriable* listener);

    // Runs the work on the notification thread, after all earlier work.
    void Post(std::function<void()> work);
    void PostState(const kesdk::api::ConnectionState& state);
    void PostChange(const kesdk::api::IResourceChangeNotification::ResourceChange& change);

    // Only inside posted work. Calls all listeners of such events.
    void CallState(const kesdk::api::ConnectionState& state);
    void CallChange(const kesdk::api::IResourceChangeNotification::ResourceChange& change);

    // Waits until all posted work is done.
    void Drain();
    bool IsStopping() const { return m_stopping; }
    std::thread::id ThreadId() const { return m_thread.get_id(); }

private:
    using TListeners = std::vector<kesdk::api::ISubscriable*>;

    void Run();
    void CallEach(std::int32_t eventType,
                  const std::function<void(kesdk::api::ISubscriable&)>& call);

    std::mutex m_mutex; // guards the members up to m_running
    std::condition_variable m_changed;
    std::deque<std::function<void()>> m_work;
    TListeners m_listeners;
    kesdk::api::ISubscriable* m_beingCalled = nullptr;
    bool m_running = false; // posted work is running
    std::atomic<bool> m_stopping{false};
    std::thread m_thread; // last, because it uses the other members
};

} // namespace fakes
