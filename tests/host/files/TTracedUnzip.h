// Unzip in a process of its own, one system call at a time.
#pragma once

#include "host/files/TUnzipFixture.h"

#include <optional>

#include <sys/types.h>

namespace kelvo::test {

// Starts with the process standing before its first call; ends with the process killed. One thread.
class TTracedUnzip
{
public:
    explicit TTracedUnzip(const TUnzipFixture& fixture);
    ~TTracedUnzip();
    TTracedUnzip(const TTracedUnzip&) = delete;
    TTracedUnzip& operator=(const TTracedUnzip&) = delete;

    // Whether this system lets a process be traced at all.
    bool IsTraced() const { return m_isTraced; }
    // Whether this system's registers are known, without which no call can be made to fail.
    static bool CanFailCalls();

    // Runs up to the system call of this number, from 1, which is not made yet. False if it ended
    // before.
    bool RunTo(int call);
    void Kill();
    // Makes the call fail that it stands at, with `error` in errno, and runs to the end. Whether
    // Unzip() returned true; nothing if it did not return.
    std::optional<bool> FailCallAndFinish(int error);

private:
    bool WaitForStop();

    const pid_t m_child;
    int m_status = 0;
    bool m_isTraced = false;
    bool m_isRunning = false;
};

} // namespace kelvo::test
