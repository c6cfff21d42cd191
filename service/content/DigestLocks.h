// A lock for each content. It prevents the content's removal while a reference to it is being
// committed.
#pragma once

#include "service/base/Async.h"

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace kelvo::content {

/** Thread safe; waiting suspends the coroutine. Outlives its guards. */
class DigestLocks
{
public:
    /** Holds the lock; may be destroyed on any thread. */
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

    /** Null if the lock is taken. */
    std::unique_ptr<Guard> tryLock(const std::string& sha256);

private:
    void waitForRelease(const std::string& sha256, std::function<void()> done);
    void release(const std::string& sha256);

    std::mutex mutex_;                                                  // guards waiters_
    std::map<std::string, std::vector<std::function<void()>>> waiters_; // a key is a taken lock
};

} // namespace kelvo::content
