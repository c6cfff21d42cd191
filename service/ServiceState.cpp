#include "service/ServiceState.h"

#include "service/base/Encoding.h"
#include "service/base/FileStatus.h"
#include "service/base/Files.h"
#include "service/base/Log.h"
#include "service/store/StateQueries.h"

#include <cerrno>
#include <exception>

#include <sys/statvfs.h>

namespace kelvo {

ServiceState::ServiceState(store::Database& database, std::filesystem::path dataFolder,
                           const std::filesystem::path& contentsFolder,
                           const store::Limits& farmLimits, int shownFarms)
    : database_(database),
      dataFolder_(std::move(dataFolder)),
      farmLimits_(farmLimits),
      shownFarms_(shownFarms),
      disks_{{"folder=\"data\"", dataFolder_}}
{
    if (!contentsFolder.empty()) {
        disks_.push_back({"folder=\"contents\"", contentsFolder});
    }
}

void ServiceState::sampleOn(WorkPool& pool)
{
    if (!isSampling_.exchange(true)) {
        pool.post([this] {
            sample();
            isSampling_ = false;
        });
    }
}

void ServiceState::sample() noexcept
{
    for (const auto step : {&ServiceState::sampleDatabase, &ServiceState::sampleFarms,
                            &ServiceState::sampleDisks, &ServiceState::sampleBackup}) {
        try {
            (this->*step)();
        } catch (const std::exception& error) {
            logWarning("state-not-read", error.what());
        }
    }
}

void ServiceState::sampleDatabase()
{
    database_.readNow([this](soci::session& sql) {
        sessions_ = static_cast<double>(store::countSessions(sql));
        const store::OpenUploads open = store::openUploads(sql);
        openUploads_ = static_cast<double>(open.count);
        openUploadBytes_ = static_cast<double>(open.lengthBytes);
        return 0;
    });
    if (const auto onServer = database_.serverSizeBytes()) {
        databaseBytes_ = static_cast<double>(*onServer);
        return;
    }
    double bytes = 0;
    for (const char* name : {"kelvo.sqlite", "kelvo.sqlite-wal"}) {
        const auto status = statusOf(dataFolder_ / name);
        bytes += status ? static_cast<double>(status->sizeBytes) : 0;
    }
    databaseBytes_ = bytes;
}

void ServiceState::sampleFarms()
{
    std::vector<store::FarmUsage> farms;
    database_.readNow([this, &farms](soci::session& sql) {
        farms.clear();
        nearlyFull_ = static_cast<double>(store::countNearlyFull(sql, farmLimits_));
        store::eachLargestFarm(sql, farmLimits_, shownFarms_,
                               [&farms](const store::FarmUsage& usage) { farms.push_back(usage); });
    });
    const std::lock_guard lock(mutex_);
    farms_ = std::move(farms);
}

std::vector<metrics::Metrics::Sample>
ServiceState::ofFarms(long long store::FarmUsage::*value) const
{
    std::vector<metrics::Metrics::Sample> samples;
    const std::lock_guard lock(mutex_);
    for (const store::FarmUsage& usage : farms_) {
        samples.push_back(
            {"farm=\"" + std::to_string(usage.farm.id) + "\"", static_cast<double>(usage.*value)});
    }
    return samples;
}

void ServiceState::sampleDisks()
{
    for (Disk& disk : disks_) {
        struct statvfs found
        {};
        if (::statvfs(disk.folder.c_str(), &found) != 0) {
            throwErrno("statvfs");
        }
        const auto blockBytes = static_cast<double>(found.f_frsize);
        const std::lock_guard lock(mutex_);
        disk.bytes = static_cast<double>(found.f_blocks) * blockBytes;
        disk.freeBytes = static_cast<double>(found.f_bavail) * blockBytes;
    }
}

std::vector<metrics::Metrics::Sample> ServiceState::ofDisks(double Disk::*value) const
{
    std::vector<metrics::Metrics::Sample> samples;
    const std::lock_guard lock(mutex_);
    for (const Disk& disk : disks_) {
        samples.push_back({disk.labels, disk.*value});
    }
    return samples;
}

void ServiceState::sampleBackup()
{
    const auto file = dataFolder_ / lastBackupName;
    const auto time = std::filesystem::exists(file) ? parseNumber(readFile(file)) : std::nullopt;
    backupS_ = static_cast<double>(time.value_or(0)) / 1000;
}

void ServiceState::showIn(metrics::Metrics& metrics) const
{
    struct Row
    {
        const char* name;
        const char* help;
        const std::atomic<double>& value;
    };
    const Row rows[] = {
        {"kelvo_sessions", "Sessions in the database.", sessions_},
        {"kelvo_uploads_open", "Unfinished uploads.", openUploads_},
        {"kelvo_uploads_open_bytes", "Whole length of the unfinished uploads.", openUploadBytes_},
        {"kelvo_farms_nearly_full", "Farms at 90 % of their quota of bytes or files, or above.",
         nearlyFull_},
        {"kelvo_database_bytes", "Size of the database and its write-ahead log.", databaseBytes_},
        {"kelvo_backup_last_seconds", "Time of the latest backup since 1970; 0: none.", backupS_},
    };
    for (const Row& row : rows) {
        metrics.show(row.name, "gauge", row.help, [&value = row.value] { return value.load(); });
    }
    metrics.show({"kelvo_disk_bytes", "gauge",
                  "Size of the file system of the data folder, and of contents on another disk.",
                  [this] { return ofDisks(&Disk::bytes); }});
    metrics.show({"kelvo_disk_free_bytes", "gauge",
                  "Bytes of this file system that the service may still use.",
                  [this] { return ofDisks(&Disk::freeBytes); }});
    metrics.show({"kelvo_farm_bytes", "gauge",
                  "Bytes that count for the quota, of the farms that use most.",
                  [this] { return ofFarms(&store::FarmUsage::bytes); }});
    metrics.show({"kelvo_farm_files", "gauge", "Files that count for the quota, of these farms.",
                  [this] { return ofFarms(&store::FarmUsage::files); }});
}

} // namespace kelvo
