// A consistent copy of a data folder.
#include "service/maintenance/Backup.h"

#include "service/DataFolder.h"
#include "service/base/Clock.h"
#include "service/base/Random.h"
#include "service/base/Time.h"
#include "service/maintenance/DatabaseCopy.h"
#include "service/maintenance/FileCopies.h"
#include "service/maintenance/FolderSwap.h"
#include "service/maintenance/StoreFiles.h"
#include "service/store/Schema.h"

#include <nlohmann/json.hpp>
#include <soci/soci.h>

#include <cerrno>
#include <map>
#include <set>
#include <system_error>

namespace kelvo::maintenance {

namespace fs = std::filesystem;

namespace {

/** What is copied beside database, contents and uploads. */
constexpr const char* otherNames[] = {"ca.pem", "tls", "admin.password"};

/**
 * The order keeps it whole while the service runs: contents first, then the database, then what the
 * database wants and was not there at first. A content leaves only after its last row has; if one
 * does so in between, a newer state of the database does not want it either.
 */
class Copying
{
public:
    Copying(const fs::path& from, const fs::path& to) : from_(from), to_(to) {}

    CopyReport run()
    {
        fs::create_directories(to_ / "content");
        fs::create_directory(to_ / "uploads");
        for (const fs::path& file : contentFiles(from_)) {
            if (isDigest(file.filename())) {
                copyContent(file.filename());
            }
        }
        copyWanted();
        dropUnwanted();
        copyUploads();
        for (const char* name : otherNames) {
            copyTree(from_ / name, to_ / name);
        }
        return report();
    }

private:
    /** False if it is not there. One that the disk cannot read is no reason to have no backup. */
    bool copyContent(const std::string& sha256)
    {
        const fs::path target = contentPath(to_, sha256);
        fs::create_directory(target.parent_path());
        try {
            copied_.insert_or_assign(sha256, copyFile(contentPath(from_, sha256), target));
            return true;
        } catch (const CannotRead& error) {
            if (error.code() == std::errc::no_such_file_or_directory) {
                return false;
            }
            unreadable_.insert_or_assign(sha256, error.what());
            return true;
        }
    }

    void copyWanted()
    {
        for (std::set<std::string> missing;;) {
            takeDatabase();
            std::set<std::string> missingNow;
            for (const WantedContent& content : wanted_) {
                if (!copied_.contains(content.sha256) && !copyContent(content.sha256)) {
                    missingNow.insert(content.sha256);
                }
            }
            if (missingNow.empty() || missingNow == missing) {
                return; // what is missing twice has not just been removed: it is lost
            }
            missing = std::move(missingNow);
        }
    }

    void takeDatabase()
    {
        fs::remove(to_ / databaseName);
        copyDatabase(from_, to_ / databaseName);
        const auto sql = store::makeSqlite((to_ / databaseName).string())->connect();
        requireSchema(*sql, false);
        wanted_ = wantedContents(*sql);
        uploads_ = openUploads(*sql);
    }

    void dropUnwanted()
    {
        std::set<std::string> wanted;
        for (const WantedContent& content : wanted_) {
            wanted.insert(content.sha256);
        }
        for (const auto& [sha256, copied] : copied_) {
            if (!wanted.contains(sha256)) {
                fs::remove(contentPath(to_, sha256));
            }
        }
    }

    /** What there is of them; a client sends the rest. */
    void copyUploads()
    {
        for (const OpenUpload& upload : uploads_) {
            try {
                copyFile(from_ / "uploads" / upload.id, to_ / "uploads" / upload.id);
            } catch (const CannotRead&) { // nor can the service go on with it
            }
        }
    }

    CopyReport report() const
    {
        CopyReport report;
        for (const WantedContent& content : wanted_) {
            const auto copied = copied_.find(content.sha256);
            const std::string name = "content " + content.sha256 + " (" + content.firstFile + ") ";
            const auto unreadable = unreadable_.find(content.sha256);
            if (unreadable != unreadable_.end()) {
                report.damages.push_back(name + "cannot be read: " + unreadable->second);
            } else if (copied == copied_.end()) {
                report.damages.push_back(name + "is missing");
            } else if (copied->second.sha256 != content.sha256) {
                report.damages.push_back(name + "is not what was uploaded");
            } else {
                ++report.contents;
                report.bytes += copied->second.sizeBytes;
            }
        }
        return report;
    }

    const fs::path& from_;
    const fs::path& to_;
    std::map<std::string, CopiedFile> copied_;
    std::map<std::string, std::string> unreadable_; // why, by digest
    std::vector<WantedContent> wanted_;
    std::vector<OpenUpload> uploads_;
};

void requireUsable(const fs::path& from, const fs::path& to)
{
    if (!fs::exists(from / databaseName)) {
        throw StartRefused("there is no database in " + from.string());
    }
    if (fs::exists(from / unfinishedRestoreName)) {
        throw StartRefused("a restore of " + from.string() + " has not come to its end");
    }
    if (isWithin(to, from) || isWithin(from, to)) {
        throw StartRefused("the backup and the data folder must not lie in each other");
    }
    if (fs::exists(to) && (!fs::is_directory(to) || !replaceable(to).empty())) {
        throw StartRefused(to.string() + " is there already and not an empty folder");
    }
}

void writeManifest(const fs::path& folder, const CopyReport& report)
{
    const nlohmann::ordered_json manifest{
        {"format", manifestFormat},         {"version", KELVO_SERVICE_VERSION},
        {"schema", store::currentSchema()}, {"made_at", rfc3339(SystemClock().nowMs())},
        {"contents", report.contents},      {"bytes", report.bytes},
        {"damaged", report.damages.size()}};
    replaceFile(folder / manifestName, manifest.dump() + "\n", 0600);
}

/** Where the copy is made: on the disk where it shall be, so within a folder that is there already,
 * for that may be where a disk is mounted. */
fs::path makeStage(const fs::path& target)
{
    const std::string suffix = "part-" + randomHex(4);
    fs::path stage = target;
    if (fs::exists(target)) {
        stage /= suffix;
    } else {
        fs::create_directories(target.parent_path());
        stage += "." + suffix;
    }
    fs::create_directory(stage);
    return stage;
}

/** Into a folder that is there. The manifest comes last: without it it is no backup. */
void moveUp(const fs::path& stage, const fs::path& target)
{
    std::error_code ignored; // a disk of another kind has no such thing
    fs::permissions(target, fs::perms::owner_all, ignored);
    for (const fs::path& entry : replaceable(stage)) {
        if (entry.filename() != manifestName) {
            fs::rename(entry, target / entry.filename());
        }
    }
    syncFolder(target);
    fs::rename(stage / manifestName, target / manifestName);
    fs::remove(stage, ignored);
    syncFolder(target);
}

} // namespace

CopyReport backUp(const fs::path& dataFolder, const fs::path& to)
{
    const fs::path target = fs::absolute(to / "").parent_path(); // without a slash at its end
    requireUsable(dataFolder, target);
    const bool isThere = fs::exists(target);
    const fs::path stage = makeStage(target);
    try {
        fs::permissions(stage, fs::perms::owner_all);
        const CopyReport report = Copying(dataFolder, stage).run();
        writeManifest(stage, report);
        syncFolders(stage);
        if (isThere) {
            moveUp(stage, target);
        } else {
            fs::rename(stage, target);
            syncFolder(target.parent_path());
        }
        return report;
    } catch (...) {
        std::error_code ignored;
        fs::remove_all(stage, ignored);
        throw;
    }
}

} // namespace kelvo::maintenance
