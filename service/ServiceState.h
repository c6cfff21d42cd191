// Values for the metrics whose reading may block.
#pragma once

#include "service/base/WorkPool.h"
#include "service/metrics/Metrics.h"
#include "service/store/Database.h"
#include "service/store/QuotaTable.h"

#include <atomic>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace kelvo {

/** A file of this name in the data folder holds the time of the latest backup. */
inline constexpr const char* lastBackupName = "backup.last";

/**
 * Reads the values and shows the latest ones. Thread: sample() and sampleOn() on one thread at a
 * time, showIn()'s metrics on any thread. Ownership: the metrics must not be
 * read after this object ends.
 */
class ServiceState
{
public:
    /**
     * `contentsFolder`: empty if it is on the disk of the data folder. `shownFarms`: the number of
     * farms with metrics of their own.
     */
    ServiceState(store::Database& database, std::filesystem::path dataFolder,
                 const std::filesystem::path& contentsFolder, const store::Limits& farmLimits,
                 int shownFarms);

    /** Blocks. A value that cannot be read stays as it was. */
    void sample() noexcept;

    /** Samples on the pool, unless an earlier sample still runs. Returns at once. */
    void sampleOn(WorkPool& pool);

    /** Adds the metrics of the values. */
    void showIn(metrics::Metrics& metrics) const;

private:
    /** The file system of a folder. */
    struct Disk
    {
        std::string labels;
        std::filesystem::path folder;
        double bytes = 0;
        double freeBytes = 0;
    };

    void sampleDatabase();
    void sampleFarms();
    void sampleDisks();
    std::vector<metrics::Metrics::Sample> ofDisks(double Disk::*value) const;
    std::vector<metrics::Metrics::Sample> ofFarms(long long store::FarmUsage::*value) const;
    void sampleBackup();

    std::atomic<bool> isSampling_{false};
    store::Database& database_;
    const std::filesystem::path dataFolder_;
    const store::Limits farmLimits_;
    const int shownFarms_;
    mutable std::mutex mutex_; // guards farms_, and the numbers of disks_
    std::vector<store::FarmUsage> farms_;
    std::vector<Disk> disks_;
    std::atomic<double> nearlyFull_{0};
    std::atomic<double> sessions_{0};
    std::atomic<double> openUploads_{0};
    std::atomic<double> openUploadBytes_{0}; // their whole lengths
    std::atomic<double> databaseBytes_{0};
    std::atomic<double> backupS_{0}; // since 1970; 0: none
};

} // namespace kelvo
