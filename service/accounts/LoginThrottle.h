// Slows down those who guess passwords.
#pragma once

#include "service/base/Clock.h"

#include <chrono>
#include <map>
#include <mutex>
#include <string>

namespace kelvo::accounts {

/**
 * Counts failed logins a user name and an address; successes are never held up by their number.
 * After `attempts` failures a name has to wait, twice as long with each further failure; an address
 * has more attempts, because a whole farm may share one. Of IPv6 the network (/64) is the address:
 * who has one of its addresses has them all.
 *
 * Thread safe. Bounded: the oldest entries are forgotten beyond `capacity`.
 */
class LoginThrottle
{
public:
    LoginThrottle(const Clock& clock, int attempts);

    /** Zero when a login may be tried, else how long to wait. Rounded up to seconds. */
    std::chrono::seconds waitFor(const std::string& user, const std::string& address);

    void failed(const std::string& user, const std::string& address);

    /** Forgets the failures of the name, and that many of the address: they were slips. */
    void succeeded(const std::string& user, const std::string& address);

private:
    struct Record
    {
        int failures = 0;
        std::int64_t lastMs = 0;
        std::int64_t blockedUntilMs = 0;
    };
    using Records = std::map<std::string, Record>;

    int recentFailures(const Records& records, const std::string& who) const;
    void count(Records& records, const std::string& who, int attempts);
    static void makeRoom(Records& records, std::int64_t nowMs);

    const Clock& clock_;
    int attempts_;
    std::mutex mutex_; // guards the records
    Records byUser_;
    Records byAddress_;
};

} // namespace kelvo::accounts
