#include "service/maintenance/Restore.h"

#include "service/DataFolder.h"
#include "service/maintenance/DatabaseChecks.h"
#include "service/maintenance/DatabaseCopy.h"
#include "service/maintenance/FileCopies.h"
#include "service/maintenance/FolderSwap.h"
#include "service/maintenance/StoreFiles.h"
#include "service/store/Errors.h"
#include "service/store/Records.h"
#include "service/store/Schema.h"

#include <nlohmann/json.hpp>
#include <soci/soci.h>

#include <system_error>

namespace kelvo::maintenance {

namespace fs = std::filesystem;

namespace {

/**
 * The gap is larger than the ids that a farm uses between two backups, and small beside all ids.
 */
constexpr long long idGap = 1000000;
constexpr long long counterGap = 1000;

void requireBackup(const fs::path& from)
{
    try {
        const auto manifest = nlohmann::json::parse(readFile(from / manifestName));
        if (manifest.at("format") != manifestFormat) {
            throw StartRefused("the backup in " + from.string() + " is of another kind");
        }
    } catch (const StartRefused&) {
        throw;
    } catch (const std::exception&) {
        throw StartRefused(from.string() + " is not a complete backup");
    }
    if (!fs::exists(from / databaseName)) { // opening a missing database would create it
        throw StartRefused(from.string() + " is not a complete backup: it has no database");
    }
    requireSchema(*store::makeSqliteCopy((from / databaseName).string())->connect(), false);
}

/**
 * After the gap, event cursors from after the backup are too old, so their clients start again with
 * a snapshot. Ids from after the backup are not used again. Call it in a transaction.
 */
void leaveGap(soci::session& sql)
{
    const std::string gap = std::to_string(idGap);
    const std::string most = std::to_string(store::largestId);
    sql << "UPDATE farms SET last_resource = CASE WHEN last_resource >= " + most +
               " THEN last_resource WHEN last_resource + " + gap + " > " + most + " THEN " + most +
               " ELSE last_resource + " + gap + " END, last_event = last_event + " + gap +
               ", pruned_event = last_event + " + gap + ", kept_events = 0";
    sql << "DELETE FROM events";
    sql << "UPDATE counters SET value = value + " + std::to_string(counterGap);
}

void prepareDatabase(const fs::path& database)
{
    const auto dialect = store::makeSqliteCopy(database.string());
    const auto session = dialect->connect();
    store::migrate(*session, *dialect);
    soci::session& sql = *session;
    dialect->beginWrite(sql, {store::Scope::all()});
    leaveGap(sql);
    sql << "UPDATE contents_place SET place = '' WHERE place LIKE 'file:%'"; // they are copied
    sql << "COMMIT";
}

void copyContents(const fs::path& from, const fs::path& to, CopyReport& report)
{
    fs::create_directory(to / "content");
    for (const fs::path& file : contentFiles(from)) {
        const std::string sha256 = file.filename();
        if (!isDigest(sha256)) {
            continue;
        }
        const fs::path target = contentPath(to, sha256);
        fs::create_directory(target.parent_path());
        CopiedFile copied;
        try {
            copied = copyFile(file, target);
        } catch (const CannotRead& error) { // the other contents are restored
            report.damages.push_back("content " + sha256 + " cannot be read: " + error.what());
            continue;
        }
        if (copied.sha256 != sha256) {
            report.damages.push_back("content " + sha256 + " is damaged in the backup");
        }
        ++report.contents;
        report.bytes += copied.sizeBytes;
    }
}

void reportMissing(const fs::path& folder, CopyReport& report)
{
    const auto sql = store::makeSqliteCopy((folder / databaseName).string())->connect();
    if (const std::string place = placeOfContents(*sql); !place.empty()) {
        report.bucket = place;
        return;
    }
    for (const WantedContent& content : wantedContents(*sql)) {
        if (!fs::exists(contentPath(folder, content.sha256))) {
            report.damages.push_back("content " + content.sha256 + " (" + content.firstFile +
                                     ") is missing in the backup");
        }
    }
}

CopyReport copyAll(const fs::path& from, const fs::path& to)
{
    CopyReport report;
    copyContents(from, to, report);
    for (const auto& entry : fs::directory_iterator(from)) {
        const std::string name = entry.path().filename();
        if (name != "content" && name != manifestName && name != databaseName && !stays(name)) {
            copyTree(entry.path(), to / name);
        }
    }
    copyFile(from / databaseName, to / databaseName);
    prepareDatabase(to / databaseName);
    reportMissing(to, report);
    return report;
}

/** Call in a transaction of beginWrite(). No instance starts before its end. */
void requireNoInstance(const store::Dialect& dialect, soci::session& sql)
{
    const int schema = store::currentSchema();
    try {
        dialect.relyOnSchema(sql, schema, schema + 1);
    } catch (const store::SchemaInUse&) {
        throw StartRefused("an instance or another command uses the database on the server: stop"
                           " all instances first");
    }
}

} // namespace

CopyReport restore(const fs::path& from, const fs::path& dataFolder, bool force)
{
    requireBackup(from);
    if (isWithin(from, dataFolder) || isWithin(dataFolder, from)) {
        throw StartRefused("the backup and the data folder must not lie in each other");
    }
    const DataFolder folder(dataFolder); // no service starts on a locked folder
    if (!replaceable(folder.path()).empty() && !force) {
        throw StartRefused("the data folder " + folder.path().string() + " is not empty");
    }
    const Owner owner(folder.path());
    owner.applyTo(folder.path() / "lock");
    const fs::path part = makePart(folder.path());
    try {
        CopyReport report = copyAll(from, part);
        owner.applyToAll(part);
        syncFolders(part);
        swapIn(part, folder.path(), owner);
        return report;
    } catch (...) {
        std::error_code ignored;
        fs::remove_all(part, ignored);
        throw;
    }
}

long long leaveGapOnServer(const std::string& server)
{
    const auto dialect = store::makePostgresql(server);
    const auto session = dialect->connect();
    requireSchema(*session, true);
    const store::WriteStart start = dialect->beginWrite(*session, {store::Scope::all()});
    requireNoInstance(*dialect, *session);
    allowLongStatements(*session); // a fleet has many events
    leaveGap(*session);
    long long farms = 0;
    *session << "SELECT COUNT(*) FROM farms", soci::into(farms);
    dialect->commit(*session, start.transaction, {});
    return farms;
}

} // namespace kelvo::maintenance
