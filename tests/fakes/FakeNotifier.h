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

// Calls the listeners, one after the other, on a thread of its own, which runs as long as this
// object lives. After Unsubscribe or the destructor returns, no listener call is running or will
// start. Work that is still waiting at destruction is dropped.
//
// Thread safety: from any thread.
class FakeNotifier
{
public:
    FakeNotifier();
    ~FakeNotifier();

    void Subscribe(kesdk::api::ISubscriable* listener);
    void Unsubscribe(kesdk::api::ISubscriable* listener);

    // Runs on the notification thread, behind everything that was posted before.
    void Post(std::function<void()> work);
    void PostState(const kesdk::api::ConnectionState& state);
    void PostChange(const kesdk::api::IResourceChangeNotification::ResourceChange& change);

    // Only inside posted work: call the listeners that want such events now.
    void CallState(const kesdk::api::ConnectionState& state);
    void CallChange(const kesdk::api::IResourceChangeNotification::ResourceChange& change);

    // Waits until everything that was posted has been delivered.
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
    bool m_running = false; // posted work is being done
    std::atomic<bool> m_stopping{false};
    std::thread m_thread; // last, for it uses the others
};

} // namespace fakes
