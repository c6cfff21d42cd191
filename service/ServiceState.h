// Values for the metrics whose reading may block.
#pragma once

#include "service/metrics/Metrics.h"
#include "service/store/Database.h"

#include <atomic>
#include <filesystem>

namespace kelvo {

/** A file of this name in the data folder holds the time of the latest backup. */
inline constexpr const char* lastBackupName = "backup.last";

/**
 * Reads the values at an interval and shows the latest ones. Thread: sample() on one thread at a
 * time, showIn()'s metrics on any thread. Ownership: outlives the metrics.
 */
class ServiceState
{
public:
    ServiceState(store::Database& database, std::filesystem::path dataFolder);

    /** Blocks. A value that cannot be read stays as it was. */
    void sample() noexcept;

    /** Adds the metrics of the values. */
    void showIn(metrics::Metrics& metrics) const;

private:
    void sampleDatabase();
    void sampleDisk();
    void sampleBackup();

    store::Database& database_;
    const std::filesystem::path dataFolder_;
    std::atomic<double> sessions_{0};
    std::atomic<double> openUploads_{0};
    std::atomic<double> openUploadBytes_{0}; // their whole lengths
    std::atomic<double> databaseBytes_{0};
    std::atomic<double> diskBytes_{0};
    std::atomic<double> freeDiskBytes_{0};
    std::atomic<double> backupS_{0}; // since 1970; 0: none
};

} // namespace kelvo
