// Runs Unzip in a child process, one system call at a time.
#pragma once

#include "host/files/TUnzipFixture.h"

#include <cstdint>
#include <optional>

#include <sys/types.h>

namespace kelvo::test {

// The renames of the file system. Old and foreign file systems can neither exchange two names nor
// keep an existing one.
enum class ERenames : std::uint8_t { eAll, eOnlyPlain };

// After the constructor the process is stopped before its first call. The destructor kills the
// process. One thread.
class TTracedUnzip
{
public:
    explicit TTracedUnzip(const TUnzipFixture& fixture, ERenames renames);
    ~TTracedUnzip();
    TTracedUnzip(const TTracedUnzip&) = delete;
    TTracedUnzip& operator=(const TTracedUnzip&) = delete;

    // True if this system allows tracing.
    bool IsTraced() const { return m_isTraced; }
    // True if this processor's registers are known. Only then a call can be made to fail.
    static bool CanFailCalls();

    // Runs until just before the system call of this number, counted from 1. Returns false if the
    // process ended before.
    bool RunTo(int call);
    void Kill();
    // Whether the current call, which has not started, renames or syncs.
    bool IsRenameOrSync() const;
    // Makes the current call fail with `error` in errno. RunTo() counts from the next call.
    bool FailCall(int error);
    // The same, and runs to the end. Returns the result of Unzip(), or no value if Unzip() did not
    // return.
    std::optional<bool> FailCallAndFinish(int error);
    // After the end.
    QString ErrorText() const;

private:
    bool WaitForStop();

    char* const m_errorText; // shared with the process
    const pid_t m_child;
    int m_status = 0;
    bool m_isTraced = false;
    bool m_isRunning = false;
};

} // namespace kelvo::test
