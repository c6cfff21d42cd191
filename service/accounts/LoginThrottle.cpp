#include "service/accounts/LoginThrottle.h"

#include "service/http/Address.h"

#include <algorithm>
#include <utility>

namespace kelvo::accounts {

namespace {

constexpr std::int64_t firstBlockMs = 30 * 1000;
constexpr std::int64_t longestBlockMs = 15 * 60 * 1000;
constexpr std::int64_t admissionMs = 15 * 60 * 1000;
constexpr int admittedFailures = 1000;
constexpr std::int64_t forgetAfterMs = 60 * 60 * 1000;
constexpr int addressFactor = 10;
constexpr int userFactor = 20;
constexpr int mostAttempts = 1000000;
constexpr std::size_t longestNameBytes = 256; // 64 characters of up to 4 bytes
constexpr std::size_t capacity = 10000;

/**
 * The key of a user at a place. A known place is a whole network, so that its many addresses do not
 * multiply the attempts. The space separates the two: no address contains a space.
 */
std::string pairOf(const std::string& user, const std::string& address, EPlace place)
{
    const bool isKnown = place == EPlace::Known;
    return (isKnown ? http::mobileNetworkOf(address) : http::networkOf(address)) + " " + user;
}

} // namespace

LoginThrottle::LoginThrottle(const Clock& clock, int attempts)
    : clock_(clock), attempts_(std::clamp(attempts, 1, mostAttempts))
{}

std::chrono::seconds LoginThrottle::waitFor(const std::string& user, const std::string& address,
                                            EPlace place)
{
    const std::lock_guard lock(mutex_);
    if (isAdmitted(user)) {
        return std::chrono::seconds(0);
    }
    const std::int64_t now = clock_.steadyMs();
    const std::string network = http::networkOf(address);
    std::int64_t until = std::max(now, blockedUntil(byPair_, pairOf(user, address, place)));
    if (place == EPlace::New) {
        until = std::max({until, blockedUntil(byAddress_, network), blockedUntil(byUser_, user)});
    }
    return std::chrono::seconds((until - now + 999) / 1000);
}

void LoginThrottle::failed(const std::string& user, const std::string& address, EPlace place)
{
    const std::lock_guard lock(mutex_);
    if (const auto admission = admitted_.find(user); admission != admitted_.end()) {
        --admission->second.failuresLeft;
    }
    const std::string network = http::networkOf(address);
    const Rule newPair{attempts_, firstBlockMs, longestBlockMs};
    const Rule knownPair{attempts_ * userFactor, firstBlockMs, firstBlockMs};
    count(byAddress_, network, {attempts_ * addressFactor, firstBlockMs, firstBlockMs});
    if (user.size() <= longestNameBytes) {
        count(byPair_, pairOf(user, address, place), place == EPlace::New ? newPair : knownPair);
        count(byUser_, user, {attempts_ * userFactor, firstBlockMs, firstBlockMs});
    }
}

void LoginThrottle::succeeded(const std::string& user, const std::string& address)
{
    const std::lock_guard lock(mutex_);
    admitted_.erase(user);
    const std::string network = http::networkOf(address);
    int failures = 0;
    for (const EPlace place : {EPlace::New, EPlace::Known}) {
        Record& pair = recordOf(byPair_, pairOf(user, address, place));
        failures += std::exchange(pair.failures, 0);
        pair.blockedUntilMs = 0;
    }
    subtractFailures(byAddress_, network, failures);
    subtractFailures(byUser_, user, failures);
}

void LoginThrottle::admit(const std::string& user)
{
    const std::lock_guard lock(mutex_);
    const std::int64_t now = clock_.steadyMs();
    std::erase_if(admitted_, [now](const auto& entry) { return entry.second.untilMs <= now; });
    if (admitted_.size() < capacity) {
        admitted_[user] = {now + admissionMs, admittedFailures};
    }
}

bool LoginThrottle::isAdmitted(const std::string& user) const
{
    const auto found = admitted_.find(user);
    return found != admitted_.end() && found->second.failuresLeft > 0 &&
           clock_.steadyMs() < found->second.untilMs;
}

std::int64_t LoginThrottle::blockedUntil(const Records& records, const std::string& who) const
{
    const auto found = records.find(who);
    return found == records.end() ? 0 : found->second.blockedUntilMs;
}

/** Makes a missing record. Clears failures that are older than an hour. */
LoginThrottle::Record& LoginThrottle::recordOf(Records& records, const std::string& who)
{
    const std::int64_t now = clock_.steadyMs();
    if (!records.contains(who)) {
        makeRoom(records, now);
    }
    Record& record = records[who];
    if (now - record.lastMs > forgetAfterMs) {
        record.failures = 0;
    }
    record.lastMs = now;
    return record;
}

void LoginThrottle::count(Records& records, const std::string& who, const Rule& rule)
{
    Record& record = recordOf(records, who);
    ++record.failures;
    if (record.failures >= rule.attempts) {
        const int doublings = std::min(record.failures - rule.attempts, 10);
        record.blockedUntilMs =
            record.lastMs + std::min(rule.firstBlockMs << doublings, rule.longestBlockMs);
    }
}

void LoginThrottle::subtractFailures(Records& records, const std::string& who, int failures)
{
    if (const auto found = records.find(who); found != records.end()) {
        found->second.failures = std::max(0, found->second.failures - failures);
    }
}

void LoginThrottle::makeRoom(Records& records, std::int64_t nowMs)
{
    if (records.size() < capacity) {
        return;
    }
    std::erase_if(records, [nowMs](const auto& entry) {
        return nowMs - entry.second.lastMs > forgetAfterMs;
    });
    if (records.size() >= capacity) {
        records.erase(std::min_element(records.begin(), records.end(),
                                       [](const auto& left, const auto& right) {
                                           return left.second.lastMs < right.second.lastMs;
                                       }));
    }
}

} // namespace kelvo::accounts
