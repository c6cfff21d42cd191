// The backoff between attempts on a bad link.
#pragma once

#include <chrono>

namespace kelvoctl {

// Counts failed attempts. Each wait is longer than the wait before and has jitter, so that many
// clients do not retry at the same time. Progress resets the count.
class Backoff
{
public:
    explicit Backoff(int attempts) : m_attempts(attempts) {}

    // Sleeps and returns true. Returns false at once if no attempts are left.
    bool wait(std::chrono::milliseconds atLeast = {});
    void progressed() { m_failures = 0; }

private:
    int m_attempts;
    int m_failures = 0;
};

} // namespace kelvoctl
