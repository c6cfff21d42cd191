#include "service/maintenance/MaintenanceCommands.h"

#include "service/DataFolder.h"
#include "service/ServiceClock.h"
#include "service/ServiceState.h"
#include "service/base/Clock.h"
#include "service/base/Files.h"
#include "service/base/Time.h"
#include "service/maintenance/Backup.h"
#include "service/maintenance/DatabaseCopy.h"
#include "service/maintenance/Owner.h"
#include "service/maintenance/Restore.h"
#include "service/maintenance/Verify.h"

#include <cstdio>
#include <system_error>

namespace kelvo::maintenance {

namespace {

constexpr int damaged = 1;

void printAll(const char* kind, const std::vector<std::string>& lines)
{
    for (const std::string& line : lines) {
        std::printf("%s: %s\n", kind, line.c_str());
    }
}

void requireDatabase(const std::filesystem::path& folder)
{
    if (!std::filesystem::exists(folder / databaseName)) {
        throw StartRefused("there is no database in " + folder.string());
    }
}

VerifyReport verifyOrRefuse(const std::filesystem::path& folder,
                            const std::optional<ContentsPlace>& place)
{
    try {
        return verify(folder, place);
    } catch (const StartRefused&) {
        throw;
    } catch (const std::exception& error) {
        throw StartRefused(folder.string() + " cannot be checked: " + error.what());
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
        std::printf("not copied: the contents in %s. The bucket must keep the objects that this"
                    " database names.\n",
                    report.bucket.c_str());
    }
    std::printf("%s %llu contents, %llu bytes; %zu damaged\n", done,
                static_cast<unsigned long long>(report.contents),
                static_cast<unsigned long long>(report.bytes), report.damages.size());
    return report.damages.empty() ? 0 : damaged;
}

} // namespace

int runVerify(const VerifyOptions& options)
{
    requireDatabase(options.dataFolder);
    const VerifyReport report = verifyOrRefuse(options.dataFolder, options.contents);
    printAll("damaged", report.damages);
    printAll("leftover", report.leftovers);
    if (report.serviceRuns) {
        std::printf("not judged: leftovers of crashes, because the service runs\n");
    }
    std::printf("verified %llu contents, %llu bytes; %zu damaged, %zu leftovers\n",
                static_cast<unsigned long long>(report.contents),
                static_cast<unsigned long long>(report.bytes), report.damages.size(),
                report.leftovers.size());
    return report.isClean() ? 0 : damaged;
}

int runBackup(const BackupOptions& options)
{
    const CopyReport copied = backUp(options.dataFolder, options.to);
    rememberBackup(options.dataFolder);
    return report("backed up", copied);
}

int runRestore(const RestoreOptions& options)
{
    return report("restored", restore(options.from, options.dataFolder, options.force));
}

int runClockConfirm(const ClockConfirmOptions& options)
{
    requireDatabase(options.dataFolder);
    const std::int64_t now = SystemClock().nowMs();
    const auto file = options.dataFolder / confirmationName;
    replaceFile(file, std::to_string(now), 0600);
    Owner(options.dataFolder).applyTo(file);
    std::printf("confirmed: it is %s\n", rfc3339(now).c_str());
    return 0;
}

} // namespace kelvo::maintenance
