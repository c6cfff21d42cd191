// Holds a thread inside a call until the test opens the gate.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>

namespace fakes {

// Thread safety: safe. A new gate is closed. An opened gate stays open.
class FakeGate
{
public:
    // Blocks until the gate opens or `shouldGiveUp` returns true. `shouldGiveUp` may be empty.
    void Pass(const std::function<bool()>& shouldGiveUp);
    void Open();

    // Waits until a thread is inside Pass() or has left it. Returns false after the hang guard of
    // 30 s.
    bool WaitUntilReached();

private:
    std::mutex m_mutex; // guards the two flags
    std::condition_variable m_changed;
    bool m_open = false;
    bool m_reached = false;
};

} // namespace fakes
