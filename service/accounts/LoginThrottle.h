// Slows down those who guess passwords.
#pragma once

#include "service/base/Clock.h"

#include <chrono>
#include <map>
#include <mutex>
#include <string>

namespace kelvo::accounts {

/**
 * Counts failed logins in three ways; successes are never held up by their number.
 *
 * - A name from an address: after `attempts` failures it has to wait, twice as long with each
 * further one. Somebody else's guesses from elsewhere do not keep the name's owner out.
 * - An address: the same after ten times as many, because a whole farm may share one. Of IPv6 the
 *   network (/64) is the address: who has one of its addresses has them all.
 * - A name, from wherever: after twenty times as many a short wait that does not grow, for those
 * who guess from many addresses. Addresses that the name has logged in from are not held up by it.
 *
 * Time is the clock's steady one, so that setting the machine's clock ends no wait and prolongs
 * none. Thread safe. Bounded: the oldest entries are forgotten beyond `capacity`, and a name that
 * is longer than names can be is nobody's and not counted.
 */
class LoginThrottle
{
public:
    LoginThrottle(const Clock& clock, int attempts);

    /** Zero when a login may be tried, else how long to wait. Rounded up to seconds. */
    std::chrono::seconds waitFor(const std::string& user, const std::string& address);

    void failed(const std::string& user, const std::string& address);

    /** Forgets the name's failures from this address, of the address and of the name as many: they
     * were slips. */
    void succeeded(const std::string& user, const std::string& address);

private:
    struct Record
    {
        int failures = 0;
        bool isKnown = false; // it has succeeded since
        std::int64_t lastMs = 0;
        std::int64_t blockedUntilMs = 0;
    };
    using Records = std::map<std::string, Record>;

    /** After how many failures, and how long at first and at most. */
    struct Rule
    {
        int attempts = 0;
        std::int64_t firstBlockMs = 0;
        std::int64_t longestBlockMs = 0;
    };

    std::int64_t blockedUntil(const Records& records, const std::string& who) const;
    Record& recordOf(Records& records, const std::string& who);
    void count(Records& records, const std::string& who, const Rule& rule);
    static void forgive(Records& records, const std::string& who, int slips);
    static void makeRoom(Records& records, std::int64_t nowMs);

    const Clock& clock_;
    int attempts_;
    std::mutex mutex_; // guards the records
    Records byPair_;   // user and address
    Records byAddress_;
    Records byUser_;
};

} // namespace kelvo::accounts
