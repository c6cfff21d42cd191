// The service's time of day, and whether it is plausible.
#pragma once

#include "service/base/Clock.h"
#include "service/store/ClockTable.h"
#include "service/store/Database.h"

#include <atomic>
#include <filesystem>
#include <optional>
#include <string>

namespace kelvo {

/**
 * The machine's clock, compared with the latest time in the database and with the run time.
 *
 * The clock is trusted until it jumps: by more than a day ahead, or by more than an hour back. Then
 * it is trusted again after a day of run time without a further jump, or when an administrator
 * confirms it. Restarts do not end the wait. Data may be removed by its age only while the clock is
 * trusted.
 *
 * While the clock is not trusted, expiryNow() does not run ahead of the trusted time. If the
 * machine's clock is then behind, nowMs() stays within an hour of the latest trusted time.
 *
 * Thread: nowMs(), steadyMs() and expiryNow() on any thread; check() on one thread at a time.
 */
class ServiceClock final : public Clock
{
public:
    /** `machine` outlives this object. */
    explicit ServiceClock(const Clock& machine) : machine_(machine) {}

    std::int64_t nowMs() const override;
    std::int64_t machineMs() const override { return machine_.nowMs(); }
    std::int64_t steadyMs() const override { return machine_.steadyMs(); }
    ExpiryTime expiryNow() const override;

    /**
     * Compares the machine's clock with the database and stores the result there. `confirmedMs` is
     * a time that an administrator has confirmed: the clock is compared with this time instead.
     * Blocks. Errors: of the database; the comparison counts even if it could not be stored.
     */
    void check(store::Database& database, std::optional<std::int64_t> confirmedMs = {});

    bool isTrusted() const { return waitS() == 0; }

    /** Run time until the clock is trusted, in seconds. */
    std::int64_t waitS() const { return waitS_; }

    /** The clock jumps since the start. */
    std::uint64_t jumps() const { return jumps_; }

private:
    std::optional<std::int64_t> trustedMs() const;
    bool hasJumped(std::int64_t aheadMs);

    const Clock& machine_;
    std::optional<store::ClockRecord> record_;    // used by check() only
    std::int64_t checkedSteadyMs_ = 0;            // used by check() only
    std::atomic<std::int64_t> trustedOffsetMs_{}; // trusted time minus steady time
    std::atomic<bool> hasTrusted_{false};
    std::atomic<std::int64_t> waitS_{std::int64_t{24} * 3600}; // until the first check
    std::atomic<std::uint64_t> jumps_{0};
};

/** A file of this name in the data folder holds the time that an administrator confirmed. */
inline constexpr const char* confirmationName = "clock.confirmed";

/**
 * Checks with the confirmation in the data folder, if there is one, and then removes its file.
 * Returns whether the clock is trusted. Logs a failure: on a full disk the clean-up must still run.
 */
bool checkClock(ServiceClock& clock, store::Database& database,
                const std::filesystem::path& dataFolder);

/**
 * Compares the machine's clock with the clock of the database server, which all instances share.
 * Returns how the clock is wrong; empty: it is right, or there is no server. Blocks. Errors: of the
 * database.
 */
std::string wrongClock(store::Database& database, const Clock& machine);

} // namespace kelvo
