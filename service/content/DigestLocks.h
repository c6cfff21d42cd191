// A lock a content: against its removal while a reference to it is on its way into the database,
// and for whoever else must be the only one.
#pragma once

#include "service/base/Async.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace kelvo::content {

/** A lock a digest. Thread safe; waiting suspends the coroutine. Outlives its guards. */
class DigestLocks
{
public:
    /** Holds the lock; may be dropped on any thread. */
    class Guard
    {
    public:
        Guard(DigestLocks& owner, std::string sha256);
        ~Guard();
        Guard(const Guard&) = delete;
        Guard& operator=(const Guard&) = delete;

    private:
        DigestLocks& owner_;
        std::string sha256_;
    };

    Async<std::unique_ptr<Guard>> lock(std::string sha256);

    /** Null when somebody has it. */
    std::unique_ptr<Guard> tryLock(const std::string& sha256);

private:
    void waitForRelease(const std::string& sha256, std::function<void()> done);
    void release(const std::string& sha256);

    std::mutex mutex_;                                                  // guards waiters_
    std::map<std::string, std::vector<std::function<void()>>> waiters_; // a key: locked
};

} // namespace kelvo::content
