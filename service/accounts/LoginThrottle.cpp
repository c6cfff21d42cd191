// Slows down those who guess passwords.
#include "service/accounts/LoginThrottle.h"

#include <boost/asio/ip/address.hpp>

#include <algorithm>

namespace kelvo::accounts {

namespace ip = boost::asio::ip;

namespace {

constexpr std::int64_t firstBlockMs = 30 * 1000;
constexpr std::int64_t longestBlockMs = 15 * 60 * 1000;
constexpr std::int64_t forgetAfterMs = 60 * 60 * 1000;
constexpr int addressFactor = 10;
constexpr std::size_t capacity = 10000;
constexpr std::size_t networkBytes = 8;

std::string networkOf(const std::string& address)
{
    boost::system::error_code failed;
    const auto parsed = ip::make_address(address, failed);
    if (failed || parsed.is_v4()) {
        return address;
    }
    const ip::address_v6 v6 = parsed.to_v6();
    if (v6.is_v4_mapped()) {
        return ip::make_address_v4(ip::v4_mapped, v6).to_string();
    }
    auto bytes = v6.to_bytes();
    std::fill(bytes.begin() + networkBytes, bytes.end(), static_cast<unsigned char>(0));
    return ip::address_v6(bytes).to_string();
}

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
    if (const auto found = byAddress_.find(networkOf(address)); found != byAddress_.end()) {
        until = std::max(until, found->second.blockedUntilMs);
    }
    return std::chrono::seconds((until - now + 999) / 1000);
}

void LoginThrottle::failed(const std::string& user, const std::string& address)
{
    const std::lock_guard lock(mutex_);
    count(byUser_, user, attempts_);
    count(byAddress_, networkOf(address), attempts_ * addressFactor);
}

void LoginThrottle::succeeded(const std::string& user, const std::string& address)
{
    const std::lock_guard lock(mutex_);
    const int slips = recentFailures(byUser_, user);
    byUser_.erase(user);
    if (const auto found = byAddress_.find(networkOf(address)); found != byAddress_.end()) {
        found->second.failures = std::max(0, found->second.failures - slips);
    }
}

int LoginThrottle::recentFailures(const Records& records, const std::string& who) const
{
    const auto found = records.find(who);
    const bool counts =
        found != records.end() && clock_.nowMs() - found->second.lastMs <= forgetAfterMs;
    return counts ? found->second.failures : 0;
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
