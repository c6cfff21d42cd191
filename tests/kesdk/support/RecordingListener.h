// A listener that records its notifications, and on which a test can wait.
#pragma once

#include "kesdk/api/IResourceChangeNotification.h"
#include "kesdk/api/IServerConnectionNotification.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace kesdk::test {

// Thread safety: safe. The Wait functions block, and return false after 30 s.
class RecordingListener : public api::IServerConnectionNotification,
                          public api::IResourceChangeNotification
{
public:
    void onServerConnectionChange(const api::ConnectionState& state) override
    {
        const std::lock_guard lock(m_mutex);
        m_states.push_back(state);
        m_thread = std::this_thread::get_id();
        m_changed.notify_all();
    }

    void onResourceChange(const ResourceChange& change) override
    {
        const std::lock_guard lock(m_mutex);
        m_changes.push_back(change);
        m_thread = std::this_thread::get_id();
        m_changed.notify_all();
    }

    std::vector<std::int32_t> States() const
    {
        const std::lock_guard lock(m_mutex);
        std::vector<std::int32_t> states;
        for (const api::ConnectionState& state : m_states)
            states.push_back(state.state);
        return states;
    }

    std::vector<ResourceChange> Changes() const
    {
        const std::lock_guard lock(m_mutex);
        return m_changes;
    }

    std::thread::id Thread() const
    {
        const std::lock_guard lock(m_mutex);
        return m_thread;
    }

    bool WaitForState(std::int32_t state) const
    {
        return Wait([&] { return !m_states.empty() && m_states.back().state == state; });
    }

    bool WaitForStates(std::size_t count) const
    {
        return Wait([&] { return m_states.size() >= count; });
    }

    bool WaitForChange(unsigned long containerId, long resourceId) const
    {
        return Wait([&] {
            for (const ResourceChange& change : m_changes) {
                if (change.containerId == containerId && change.resourceId == resourceId)
                    return true;
            }
            return false;
        });
    }

    bool WaitForChanges(std::size_t count) const
    {
        return Wait([&] { return m_changes.size() >= count; });
    }

private:
    bool Wait(const std::function<bool()>& condition) const
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::seconds(30), condition);
    }

    mutable std::mutex m_mutex; // guards everything below
    mutable std::condition_variable m_changed;
    std::vector<api::ConnectionState> m_states;
    std::vector<ResourceChange> m_changes;
    std::thread::id m_thread;
};

} // namespace kesdk::test
