// Slows down password guessing.
#pragma once

#include "service/base/Clock.h"

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace kelvo::accounts {

/** Whether the user has logged in from this network before. */
enum class EPlace : std::uint8_t { New, Known };

/**
 * Counts failed logins in three ways. Successful logins are not counted.
 *
 * - User and address together: after `attempts` failures the next login has to wait. Each further
 *   failure doubles the wait, up to 15 minutes. Guesses from another address do not block the
 *   name's owner. A stranger may share a known place. So there the wait comes after twenty times as
 *   many failures and does not grow.
 * - The address: after ten times as many failures the next login waits. A whole farm may share an
 *   address, so this wait does not grow. It does not apply at a known place. For IPv6 the network
 *   (/64) counts as the address.
 * - The user from any address: after twenty times as many failures the next login waits. This wait
 *   does not grow. It slows down guesses from many addresses. It does not apply at a known place.
 *
 * A wait that does not grow takes 30 s. Time comes from the steady clock: setting the machine's
 * clock changes no wait. admit() ends the waits of a user. Thread safe. Memory is bounded: beyond
 * `capacity` the oldest entries are dropped. A name longer than any real name is not counted.
 */
class LoginThrottle
{
public:
    LoginThrottle(const Clock& clock, int attempts);

    /** Zero if a login may be tried, else the time to wait, rounded up to seconds. */
    std::chrono::seconds waitFor(const std::string& user, const std::string& address,
                                 EPlace place = EPlace::New);

    void failed(const std::string& user, const std::string& address, EPlace place = EPlace::New);

    /**
     * Clears the failures of the name from this address. The same number is subtracted from the
     * failures of the address and of the name, because the user mistyped the password. Ends the
     * user's admission.
     */
    void succeeded(const std::string& user, const std::string& address);

    /**
     * Lets the user log in once from any place without a wait, for 15 minutes or 1,000 failures.
     * Use it if the failures of a stranger make the user wait.
     */
    void admit(const std::string& user);

private:
    struct Record
    {
        int failures = 0;
        std::int64_t lastMs = 0;
        std::int64_t blockedUntilMs = 0;
    };
    using Records = std::map<std::string, Record>;

    /** The failures before the first wait, and the first and the longest wait. */
    struct Rule
    {
        int attempts = 0;
        std::int64_t firstBlockMs = 0;
        std::int64_t longestBlockMs = 0;
    };

    struct Admission
    {
        std::int64_t untilMs = 0;
        int failuresLeft = 0;
    };

    bool isAdmitted(const std::string& user) const;
    std::int64_t blockedUntil(const Records& records, const std::string& who) const;
    Record& recordOf(Records& records, const std::string& who);
    void count(Records& records, const std::string& who, const Rule& rule);
    static void subtractFailures(Records& records, const std::string& who, int failures);
    static void makeRoom(Records& records, std::int64_t nowMs);

    const Clock& clock_;
    int attempts_;
    std::mutex mutex_; // guards the records and admitted_
    Records byPair_;   // user and address
    Records byAddress_;
    Records byUser_;
    std::map<std::string, Admission> admitted_;
};

} // namespace kelvo::accounts
