#include "service/maintenance/MaintenanceCommands.h"

#include "service/DataFolder.h"
#include "service/OpenDatabase.h"
#include "service/ServiceClock.h"
#include "service/ServiceState.h"
#include "service/base/Clock.h"
#include "service/base/Files.h"
#include "service/base/Log.h"
#include "service/base/Time.h"
#include "service/maintenance/Backup.h"
#include "service/maintenance/DatabaseCopy.h"
#include "service/maintenance/FleetVerify.h"
#include "service/maintenance/Move.h"
#include "service/maintenance/Owner.h"
#include "service/maintenance/Restore.h"
#include "service/maintenance/Verify.h"

#include <cstdio>
#include <iostream>
#include <system_error>

namespace kelvo::maintenance {

namespace {

constexpr int damaged = 1;

void printAll(const char* kind, const std::vector<std::string>& lines)
{
    for (const std::string& line : lines) {
        std::cout << kind << ": " << line << "\n";
    }
}

void requireDatabase(const std::filesystem::path& folder)
{
    if (!std::filesystem::exists(folder / databaseName)) {
        throw StartRefused("there is no database in " + folder.string());
    }
}

/** The database of several instances; empty: the folder has the database. */
std::string serverFor(const VerifyOptions& options)
{
    if (options.database.isOnServer()) {
        return options.database.url;
    }
    return isOnServer(options.dataFolder) ? serverOf(options.dataFolder) : "";
}

VerifyReport verifyOrRefuse(const VerifyOptions& options)
{
    const std::string server = serverFor(options);
    if (server.empty()) {
        requireDatabase(options.dataFolder);
    } else if (!options.contents) {
        throw StartRefused("give the bucket of the contents with --contents");
    }
    try {
        Progress progress;
        return server.empty() ? verify(options.dataFolder, options.contents)
                              : verifyFleet(server, *options.contents, progress);
    } catch (const StartRefused&) {
        throw;
    } catch (const std::exception& error) {
        throw StartRefused(
            (server.empty() ? options.dataFolder.string() : "the database on the server") +
            " cannot be checked: " + error.what());
    }
}

/** For the metrics of the service. A folder that this user cannot write is no failure. */
void rememberBackup(const std::filesystem::path& dataFolder)
{
    try {
        const auto file = dataFolder / lastBackupName;
        replaceFile(file, std::to_string(SystemClock().nowMs()), 0644);
        Owner(dataFolder).applyTo(file);
    } catch (const std::system_error& error) {
        std::fprintf(stderr, "kelvo-service: the time of the backup was not noted: %s\n",
                     error.what());
    }
}

int report(const char* done, const CopyReport& report)
{
    printAll("damaged", report.damages);
    if (!report.bucket.empty()) {
        std::cout << "not copied: the contents in " << report.bucket
                  << ". The bucket must keep the objects that this database names.\n";
    }
    std::cout << done << " " << report.contents << " contents, " << report.bytes << " bytes; "
              << report.damages.size() << " damaged\n";
    return report.damages.empty() ? 0 : damaged;
}

} // namespace

int runVerify(const VerifyOptions& options)
{
    const VerifyReport report = verifyOrRefuse(options);
    printAll("damaged", report.damages);
    if (!report.isClean() && !report.damagedBucket.empty()) {
        std::cout << "repair: put each named object back into the bucket " << report.damagedBucket
                  << " under its key, from a version or a copy of it, or upload the file again\n";
    }
    printAll("leftover", report.leftovers);
    if (report.serviceRuns) {
        std::cout << "not judged: leftovers of crashes, because the service runs\n";
    }
    std::cout << "verified " << report.contents << " contents, " << report.bytes << " bytes; "
              << report.damages.size() << " damaged, " << report.leftovers.size() << " leftovers\n";
    return report.isClean() ? 0 : damaged;
}

int runBackup(const BackupOptions& options)
{
    requireOwnDatabase(options.dataFolder);
    const CopyReport copied = backUp(options.dataFolder, options.to);
    rememberBackup(options.dataFolder);
    return report("backed up", copied);
}

int runRestore(const RestoreOptions& options)
{
    if (options.database.isOnServer()) {
        const long long farms = leaveGapOnServer(options.database.url);
        std::cout << "restored the numbers of " << farms << " farms\n";
        return 0;
    }
    requireOwnDatabase(options.dataFolder);
    return report("restored", restore(options.from, options.dataFolder, options.force));
}

int runMigrate(const MigrateOptions& options)
{
    startLog("warning");
    Progress progress;
    const MoveReport report =
        moveService(options.from, options.database.url, options.contents, progress);
    progress.end();
    printAll("damaged", report.damages);
    if (!report.damages.empty()) {
        const std::string place = report.damagedBucket.empty()
                                      ? "the folder"
                                      : "the bucket " + report.damagedBucket +
                                            ": give another bucket and an empty database";
        std::cout << "not moved: " << report.damages.size() << " damaged in " << place << "\n";
        return damaged;
    }
    if (report.hadMoved) {
        std::cout << "the service had moved already\n";
        return 0;
    }
    std::cout << "moved " << report.contents << " contents, " << report.bytes << " bytes, "
              << report.rows << " rows of " << report.tables << " tables\n";
    return 0;
}

int runClockConfirm(const ClockConfirmOptions& options)
{
    if (!isOnServer(options.dataFolder)) {
        requireDatabase(options.dataFolder);
    }
    const std::int64_t now = SystemClock().nowMs();
    const auto file = options.dataFolder / confirmationName;
    replaceFile(file, std::to_string(now), 0600);
    Owner(options.dataFolder).applyTo(file);
    std::cout << "confirmed: it is " << rfc3339(now) << "\n";
    return 0;
}

} // namespace kelvo::maintenance
