#include "service/maintenance/Move.h"

#include "service/DataFolder.h"
#include "service/OpenDatabase.h"
#include "service/base/Files.h"
#include "service/base/Time.h"
#include "service/maintenance/BucketChecks.h"
#include "service/maintenance/DatabaseChecks.h"
#include "service/maintenance/DatabaseCopy.h"
#include "service/maintenance/MoveTarget.h"
#include "service/maintenance/MovedContents.h"
#include "service/maintenance/MovedRows.h"
#include "service/maintenance/Owner.h"
#include "service/store/PlaceTable.h"

#include <nlohmann/json.hpp>
#include <soci/soci.h>

#include <optional>

namespace kelvo::maintenance {

namespace fs = std::filesystem;

namespace {

/** Before the folder is locked: the lock would make a missing folder. */
void requireSource(const fs::path& from)
{
    if (isOnServer(from)) {
        throw StartRefused("the service of " + from.string() +
                           " is on a database server already: nothing is to move");
    }
    if (!fs::exists(from / databaseName)) {
        throw StartRefused("there is no database in " + from.string());
    }
    if (fs::exists(from / unfinishedRestoreName)) {
        throw StartRefused("a restore of " + from.string() + " is unfinished");
    }
}

/** A service without users has never started completely. */
std::string identityOf(soci::session& source)
{
    std::string identity = store::serviceIdentity(source);
    if (identity.empty()) {
        throw StartRefused("the service has no users: nothing is to move");
    }
    return identity;
}

fs::path rootOf(soci::session& source, const fs::path& from)
{
    const std::string place = placeOfContents(source);
    fs::path root = contentsRoot(place, from);
    if (root.empty()) {
        throw StartRefused("the contents are in " + place + " and not in a folder");
    }
    if (!fs::is_directory(root / "content")) {
        throw StartRefused("there is no folder content in " + root.string());
    }
    return root;
}

/** The place to which the service has moved, or will have moved in a moment. */
class Mark
{
public:
    Mark(const fs::path& folder, const std::string& server, const ContentsPlace& contents)
        : file_(folder / movedName),
          folder_(folder),
          place_{{"database", server}, {"contents", contents.name({})}}
    {}

    /** Throws StartRefused if the folder has the mark of another place. */
    bool isSet() const
    {
        if (!fs::exists(file_)) {
            return false;
        }
        const auto found = nlohmann::json::parse(readFile(file_));
        if (found != place_) {
            throw StartRefused("the service has moved to another place, which " + file_.string() +
                               " names");
        }
        return true;
    }

    void set() const
    {
        replaceFile(file_, place_.dump() + "\n", 0600);
        Owner(folder_).applyTo(file_);
    }

private:
    fs::path file_;
    fs::path folder_;
    nlohmann::json place_;
};

void readBack(MoveTarget& target, Progress& progress, MoveReport& report)
{
    VerifyReport found;
    const auto read = [&target](const auto& query) {
        target.database().readNow([&query](soci::session& sql) {
            allowLongStatements(sql);
            query(sql);
        });
    };
    BucketChecks(read, target.bucket(), progress).run(found);
    report.damages = std::move(found.damages);
    report.damagedBucket = std::move(found.damagedBucket);
    report.contents = found.contents;
    report.bytes = found.bytes;
}

/** Steps 2 to 4. Stops at the first step that finds damage. */
void copyAll(soci::session& source, const fs::path& root, MoveTarget& target, Progress& progress,
             MoveReport& report)
{
    MovedContents contents(root, target.database(), target.contents(), progress);
    report.damages = contents.move(source);
    if (!report.damages.empty()) {
        return;
    }
    MovedRows moved;
    target.write([&](store::Transaction& transaction) {
        allowLongStatements(transaction.sql);
        moved = moveRows(source, transaction, progress);
    });
    report.tables = moved.tables;
    report.rows = moved.rows;
    readBack(target, progress, report);
}

} // namespace

MoveReport moveService(const fs::path& from, const std::string& server,
                       const ContentsPlace& contents, Progress& progress)
{
    requireSource(from);
    const DataFolder folder(from);
    Owner(folder.path()).applyTo(folder.path() / "lock");
    const Mark mark(folder.path(), server, contents);
    const bool isMarked = mark.isSet();
    const DatabaseSnapshot snapshot(folder);
    soci::session& source = snapshot.sql();
    MoveReport report;
    report.damages = checkDatabase(source);
    const std::string identity = identityOf(source);
    const fs::path root = rootOf(source, folder.path());
    if (!report.damages.empty()) {
        return report;
    }
    if (isMarked && MoveTarget::hasMoved(server, identity)) {
        report.hadMoved = true;
        return report;
    }
    MoveTarget target(server, contents, identity);
    copyAll(source, root, target, progress, report);
    if (report.damages.empty()) {
        mark.set();
        target.open();
    }
    return report;
}

} // namespace kelvo::maintenance
