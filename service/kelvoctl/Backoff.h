// The waits between attempts on a link that comes and goes.
#pragma once

#include <chrono>

namespace kelvoctl {

// Counts attempts that brought nothing. Each wait is longer than the one before and jittered, so
// that many clients do not come back in step; progress starts the count anew.
class Backoff
{
public:
    explicit Backoff(int attempts) : m_attempts(attempts) {}

    // Sleeps and returns true, or returns false at once when the attempts are used up.
    bool wait(std::chrono::milliseconds atLeast = {});
    void progressed() { m_failures = 0; }

private:
    int m_attempts;
    int m_failures = 0;
};

} // namespace kelvoctl
