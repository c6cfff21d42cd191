// Slows down those who guess passwords.
#include "service/accounts/LoginThrottle.h"

#include <algorithm>

namespace kelvo::accounts {

namespace {

constexpr std::int64_t firstBlockMs = 30 * 1000;
constexpr std::int64_t longestBlockMs = 15 * 60 * 1000;
constexpr std::int64_t forgetAfterMs = 60 * 60 * 1000;
constexpr int addressFactor = 10;
constexpr std::size_t capacity = 10000;

} // namespace

LoginThrottle::LoginThrottle(const Clock& clock, int attempts)
    : clock_(clock), attempts_(std::max(1, attempts))
{}

std::chrono::seconds LoginThrottle::waitFor(const std::string& user, const std::string& address)
{
    const std::lock_guard lock(mutex_);
    const std::int64_t now = clock_.nowMs();
    std::int64_t until = now;
    if (const auto found = byUser_.find(user); found != byUser_.end()) {
        until = std::max(until, found->second.blockedUntilMs);
    }
    if (const auto found = byAddress_.find(address); found != byAddress_.end()) {
        until = std::max(until, found->second.blockedUntilMs);
    }
    return std::chrono::seconds((until - now + 999) / 1000);
}

void LoginThrottle::failed(const std::string& user, const std::string& address)
{
    const std::lock_guard lock(mutex_);
    count(byUser_, user, attempts_);
    count(byAddress_, address, attempts_ * addressFactor);
}

void LoginThrottle::succeeded(const std::string& user)
{
    const std::lock_guard lock(mutex_);
    byUser_.erase(user);
}

void LoginThrottle::count(Records& records, const std::string& who, int attempts)
{
    const std::int64_t now = clock_.nowMs();
    makeRoom(records, now);
    Record& record = records[who];
    if (now - record.lastMs > forgetAfterMs) {
        record = Record{};
    }
    record.lastMs = now;
    ++record.failures;
    if (record.failures >= attempts) {
        const int doublings = std::min(record.failures - attempts, 10);
        record.blockedUntilMs = now + std::min(firstBlockMs << doublings, longestBlockMs);
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
