#include "service/maintenance/MoveTarget.h"

#include "service/BucketHome.h"
#include "service/BucketMarker.h"
#include "service/DataFolder.h"
#include "service/ServiceClock.h"
#include "service/base/Random.h"
#include "service/store/PlaceTable.h"

#include <soci/soci.h>

#include <stdexcept>

namespace kelvo::maintenance {

namespace {

bool hasColumn(soci::session& sql, const std::string& table, const std::string& column)
{
    int found = 0;
    sql << "SELECT COUNT(*) FROM information_schema.columns WHERE table_schema = current_schema()"
           " AND table_name = :table AND column_name = :column",
        soci::into(found), soci::use(table, "table"), soci::use(column, "column");
    return found > 0;
}

/** A killed process may have left only the table `writers`: a connection makes it at once. */
bool hasTables(soci::session& sql)
{
    int tables = 0;
    sql << "SELECT COUNT(*) FROM information_schema.tables"
           " WHERE table_schema = current_schema() AND table_name <> 'writers'",
        soci::into(tables);
    return tables > 0;
}

/** Whether the tables are those of this program, so that their rows can tell what they are. */
bool isReadable(soci::session& sql)
{
    return hasColumn(sql, "contents_place", "moving_from") && hasColumn(sql, "users", "created_ms");
}

/** Another service may have recorded its place, and not yet have made its first user. */
bool isUnused(soci::session& sql)
{
    return store::serviceIdentity(sql).empty() && store::contentsPlace(sql).empty();
}

/** The note of a move in the database is the source, a colon and a number of the process. */
void requireFree(soci::session& sql, const std::string& source)
{
    const std::string note = store::unfinishedMove(sql);
    const std::string moving = note.substr(0, note.find(':'));
    if (moving == source || (moving.empty() && isUnused(sql))) {
        return;
    }
    throw StartRefused(moving.empty()
                           ? "the database on the server has another service's rows: give an empty"
                             " database"
                           : "another service is moving into the database on the server: give an"
                             " empty database");
}

/** The schema of a database with other tables must not change. */
std::unique_ptr<store::Database> openFree(const std::string& server, const std::string& source)
{
    const auto sql = store::makePostgresql(server)->connect();
    if (isReadable(*sql)) {
        requireFree(*sql, source);
    } else if (hasTables(*sql)) {
        throw StartRefused("the database on the server has tables of another program or of another"
                           " version: give an empty database");
    }
    return std::make_unique<store::Database>(store::makePostgresql(server));
}

void requireSamePlace(soci::session& sql, const std::string& wanted)
{
    const std::string found = store::contentsPlace(sql);
    if (!found.empty() && found != wanted) {
        throw StartRefused("the move has begun with the contents in " + found +
                           ": correct the option --contents, or give an empty database");
    }
}

} // namespace

MoveTarget::MoveTarget(const std::string& server, const ContentsPlace& contents,
                       const std::string& source)
    : move_(source + ':' + randomHex(8)),
      database_(openFree(server, source)),
      bucket_(*contents.bucket, requireCredentials(), clock_)
{
    if (const std::string wrong = wrongClock(*database_, clock_); !wrong.empty()) {
        throw StartRefused("the clock " + wrong);
    }
    const std::string place = contents.name({});
    database_->writeNow([&](store::Transaction& transaction) {
        requireFree(transaction.sql, source);
        requireSamePlace(transaction.sql, place);
        store::setUnfinishedMove(transaction, move_);
    });
    contents_ = std::make_unique<chunks::ChunkedContents>(*database_, bucket_, clock_);
    requireMarker(database_->readNow(knownObject), bucket_);
    setMarker(*database_, bucket_);
    write([&place](store::Transaction& transaction) {
        if (store::contentsPlace(transaction.sql) != place) {
            store::setContentsPlace(transaction.sql, place); // only now: the bucket can be used
        }
    });
}

void MoveTarget::write(const std::function<void(store::Transaction&)>& change)
{
    database_->writeNow([&](store::Transaction& transaction) {
        if (store::unfinishedMove(transaction.sql) != move_) {
            throw StartRefused("another process continues this move, or has finished it");
        }
        change(transaction);
    });
}

bool MoveTarget::hasMoved(const std::string& server, const std::string& source)
{
    const auto sql = store::makePostgresql(server)->connect();
    return isReadable(*sql) && store::unfinishedMove(*sql).empty() &&
           store::serviceIdentity(*sql) == source;
}

void MoveTarget::open()
{
    write([](store::Transaction& transaction) { store::setUnfinishedMove(transaction, {}); });
}

} // namespace kelvo::maintenance
