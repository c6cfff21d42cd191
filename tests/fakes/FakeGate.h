// Holds a thread inside a call until a test lets it go on.
#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>

namespace fakes {

// From any thread. Closed when made; once opened it stays open.
class FakeGate
{
public:
    // Waits in the caller until the gate opens or `shouldGiveUp`, which may be empty, says true.
    void Pass(const std::function<bool()>& shouldGiveUp);
    void Open();

    // Waits until a thread is inside Pass() or has left it; false when none came within the
    // hang guard of 30 s.
    bool WaitUntilReached();

private:
    std::mutex m_mutex; // guards the two flags
    std::condition_variable m_changed;
    bool m_open = false;
    bool m_reached = false;
};

} // namespace fakes
