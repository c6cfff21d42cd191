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

/** Names that are copied beside the database, the contents and the uploads. */
constexpr const char* otherNames[] = {"ca.pem", "tls", "admin.password"};

/**
 * The order keeps the copy consistent while the service runs. The contents come first, then the
 * database. The contents that the database refers to and that are still missing come last. The
 * service removes a content only after its last row. If a content is removed meanwhile, a newer
 * copy of the database does not refer to it either.
 */
class Copying
{
public:
    Copying(const fs::path& from, const fs::path& to) : from_(from), root_(from), to_(to) {}

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
    /**
     * False if the content does not exist. A content that the disk cannot read does not stop the
     * backup.
     */
    bool copyContent(const std::string& sha256)
    {
        const fs::path target = contentPath(to_, sha256);
        fs::create_directory(target.parent_path());
        try {
            copied_.insert_or_assign(sha256, copyFile(contentPath(root_, sha256), target));
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
            if (root_.empty()) {
                return;
            }
            std::set<std::string> missingNow;
            for (const WantedContent& content : wanted_) {
                if (!copied_.contains(content.sha256) && !copyContent(content.sha256)) {
                    missingNow.insert(content.sha256);
                }
            }
            if (missingNow.empty() || missingNow == missing) {
                return; // missing twice: the content was not just removed, it is lost
            }
            missing = std::move(missingNow);
        }
    }

    void takeDatabase()
    {
        fs::remove(to_ / databaseName);
        copyDatabase(from_, to_ / databaseName);
        const auto sql = store::makeSqliteCopy((to_ / databaseName).string())->connect();
        requireSchema(*sql, false);
        place_ = placeOfContents(*sql);
        root_ = contentsRoot(place_, from_);
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

    /** Copies the received part of each upload; a client sends the rest. */
    void copyUploads()
    {
        for (const OpenUpload& upload : root_.empty() ? std::vector<OpenUpload>() : uploads_) {
            try {
                copyFile(root_ / "uploads" / upload.id, to_ / "uploads" / upload.id);
            } catch (const CannotRead&) { // the service cannot resume this upload either
            }
        }
    }

    CopyReport report() const
    {
        CopyReport report;
        if (root_.empty()) {
            report.bucket = place_;
            return report;
        }
        for (const WantedContent& content : wanted_) {
            const auto copied = copied_.find(content.sha256);
            const std::string name = "content " + content.sha256 + " (" + content.firstFile + ") ";
            const auto unreadable = unreadable_.find(content.sha256);
            if (unreadable != unreadable_.end()) {
                report.damages.push_back(name + "cannot be read: " + unreadable->second);
            } else if (copied == copied_.end()) {
                report.damages.push_back(name + "is missing");
            } else if (copied->second.sha256 != content.sha256) {
                report.damages.push_back(name + "differs from the uploaded bytes");
            } else {
                ++report.contents;
                report.bytes += copied->second.sizeBytes;
            }
        }
        return report;
    }

    const fs::path& from_;
    fs::path root_; // of contents and uploads; empty: they are in a bucket
    const fs::path& to_;
    std::string place_;
    std::map<std::string, CopiedFile> copied_;
    std::map<std::string, std::string> unreadable_; // the error texts by digest
    std::vector<WantedContent> wanted_;
    std::vector<OpenUpload> uploads_;
};

void requireUsable(const fs::path& from, const fs::path& to)
{
    if (!fs::exists(from / databaseName)) {
        throw StartRefused("there is no database in " + from.string());
    }
    if (fs::exists(from / unfinishedRestoreName)) {
        throw StartRefused("a restore of " + from.string() + " is unfinished");
    }
    if (isWithin(to, from) || isWithin(from, to)) {
        throw StartRefused("the backup and the data folder must not lie in each other");
    }
    if (fs::exists(to) && (!fs::is_directory(to) || !replaceable(to).empty())) {
        throw StartRefused(to.string() + " exists and is not an empty folder");
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

/**
 * Makes the folder of the copy on the target's disk. A disk may be mounted at an existing target,
 * so the folder is made inside an existing target.
 */
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

/**
 * Moves the copy into an existing folder. The manifest comes last: without a manifest the folder is
 * no backup.
 */
void moveUp(const fs::path& stage, const fs::path& target)
{
    std::error_code ignored; // some file systems have no permissions
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
    const fs::path target = fs::absolute(to / "").parent_path(); // without a trailing slash
    requireUsable(dataFolder, target);
    const bool isThere = fs::exists(target);
    const fs::path stage = makeStage(target);
    try {
        fs::permissions(stage, fs::perms::owner_all);
        CopyReport report = Copying(dataFolder, stage).run();
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
