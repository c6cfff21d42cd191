#include "service/ServiceClock.h"

#include "service/base/Encoding.h"
#include "service/base/Files.h"
#include "service/base/Log.h"

#include <algorithm>
#include <cstdlib>

namespace kelvo {

namespace {

constexpr std::int64_t hourMs = 3'600'000;
constexpr std::int64_t toleratedBehindMs = hourMs;
constexpr std::int64_t toleratedAheadMs = 24 * hourMs; // the machine may be off overnight
constexpr long long waitAfterJumpS = 24LL * 3600;
constexpr std::int64_t toleratedSkewMs = 60'000; // between two machines

} // namespace

std::optional<std::int64_t> ServiceClock::trustedMs() const
{
    return hasTrusted_ ? std::optional(machine_.steadyMs() + trustedOffsetMs_) : std::nullopt;
}

std::int64_t ServiceClock::nowMs() const
{
    const auto trusted = trustedMs();
    const std::int64_t now = machine_.nowMs();
    return trusted ? std::max(now, *trusted - toleratedBehindMs) : now;
}

ExpiryTime ServiceClock::expiryNow() const
{
    const auto trusted = trustedMs();
    const std::int64_t now = nowMs();
    const bool isAhead = trusted && (!isTrusted() || now > *trusted + toleratedAheadMs);
    return {isAhead ? std::min(now, *trusted) : now};
}

bool ServiceClock::hasJumped(std::int64_t aheadMs)
{
    if (aheadMs <= toleratedAheadMs && aheadMs >= -toleratedBehindMs) {
        return false;
    }
    ++jumps_;
    logWarning("clock-jumped",
               std::to_string(aheadMs / hourMs) +
                   " hours from the expected time; nothing is removed by its age for"
                   " 24 hours of run time, or until kelvo-service clock confirm");
    return true;
}

void ServiceClock::check(store::Database& database, std::optional<std::int64_t> confirmedMs)
{
    const std::int64_t now = machine_.nowMs();
    const std::int64_t steady = machine_.steadyMs();
    const std::int64_t elapsedMs = record_ ? steady - checkedSteadyMs_ : 0;
    if (!record_) {
        record_ = database.readNow(store::clockRecord);
    }
    store::ClockRecord& record = *record_;
    checkedSteadyMs_ = steady;
    const bool isNew = record.seenMs == 0 && !confirmedMs;
    if (confirmedMs) {
        logInfo("clock-confirmed");
        record.waitS = 0;
    }
    if (!isNew && hasJumped(now - confirmedMs.value_or(record.seenMs + elapsedMs))) {
        record.waitS = waitAfterJumpS;
    } else if (record.waitS > 0) {
        record.waitS = std::max<long long>(0, record.waitS - elapsedMs / 1000);
    }
    record.seenMs = now;
    if (record.waitS == 0) {
        record.trustedMs = now;
    } else if (record.trustedMs != 0) {
        record.trustedMs += elapsedMs;
    }
    trustedOffsetMs_ = record.trustedMs - steady;
    hasTrusted_ = record.trustedMs != 0;
    waitS_ = record.waitS;
    database.writeNow(
        [&record](store::Transaction& transaction) { store::setClockRecord(transaction, record); });
}

bool checkClock(ServiceClock& clock, store::Database& database,
                const std::filesystem::path& dataFolder)
{
    const auto file = dataFolder / confirmationName;
    try {
        std::optional<std::int64_t> confirmedMs;
        if (std::filesystem::exists(file)) {
            const auto number = parseNumber(readFile(file));
            confirmedMs = number ? std::optional(static_cast<std::int64_t>(*number)) : std::nullopt;
        }
        clock.check(database, confirmedMs);
        std::filesystem::remove(file);
    } catch (const std::exception& error) {
        logError("clock-check-failed", error.what());
    }
    return clock.isTrusted();
}

std::string wrongClock(store::Database& database, const Clock& machine)
{
    const auto serverMs = database.serverTimeMs();
    const std::int64_t aheadMs = serverMs ? machine.nowMs() - *serverMs : 0;
    if (std::abs(aheadMs) <= toleratedSkewMs) {
        return {};
    }
    return "is " + std::to_string(aheadMs / 1000) + " s ahead of the database server's clock";
}

} // namespace kelvo
