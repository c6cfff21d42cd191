#include "service/maintenance/MaintenanceCommands.h"

#include "service/DataFolder.h"
#include "service/maintenance/Backup.h"
#include "service/maintenance/DatabaseCopy.h"
#include "service/maintenance/Restore.h"
#include "service/maintenance/Verify.h"

#include <cstdio>

namespace kelvo::maintenance {

namespace {

constexpr int damaged = 1;

void printAll(const char* kind, const std::vector<std::string>& lines)
{
    for (const std::string& line : lines) {
        std::printf("%s: %s\n", kind, line.c_str());
    }
}

VerifyReport verifyOrRefuse(const std::filesystem::path& folder)
{
    try {
        return verify(folder);
    } catch (const StartRefused&) {
        throw;
    } catch (const std::exception& error) {
        throw StartRefused(folder.string() + " cannot be checked: " + error.what());
    }
}

int report(const char* done, const CopyReport& report)
{
    printAll("damaged", report.damages);
    std::printf("%s %llu contents, %llu bytes; %zu damaged\n", done,
                static_cast<unsigned long long>(report.contents),
                static_cast<unsigned long long>(report.bytes), report.damages.size());
    return report.damages.empty() ? 0 : damaged;
}

} // namespace

int runVerify(const VerifyOptions& options)
{
    if (!std::filesystem::exists(options.dataFolder / databaseName)) {
        throw StartRefused("there is no database in " + options.dataFolder.string());
    }
    const VerifyReport report = verifyOrRefuse(options.dataFolder);
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
    return report("backed up", backUp(options.dataFolder, options.to));
}

int runRestore(const RestoreOptions& options)
{
    return report("restored", restore(options.from, options.dataFolder, options.force));
}

} // namespace kelvo::maintenance
