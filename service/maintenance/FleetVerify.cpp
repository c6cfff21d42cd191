#include "service/maintenance/FleetVerify.h"

#include "service/BucketHome.h"
#include "service/BucketMarker.h"
#include "service/DataFolder.h"
#include "service/base/Clock.h"
#include "service/maintenance/BucketChecks.h"
#include "service/maintenance/DatabaseChecks.h"
#include "service/maintenance/DatabaseCopy.h"
#include "service/store/PlaceTable.h"

#include <soci/soci.h>

namespace kelvo::maintenance {

namespace {

void readAtOnce(const store::Dialect& dialect, soci::session& sql,
                const std::function<void(soci::session&)>& query)
{
    sql << dialect.beginRead();
    try {
        allowLongStatements(sql);
        query(sql);
        sql << "COMMIT";
    } catch (...) {
        try {
            sql << "ROLLBACK";
        } catch (const std::exception&) {
            // The connection is lost; the first failure says more.
        }
        throw;
    }
}

void requireOpenPlace(soci::session& sql, const ContentsPlace& place)
{
    refuseUnfinishedMove(sql);
    const std::string found = store::contentsPlace(sql);
    if (found != place.name({})) {
        throw StartRefused("the contents are in " + (found.empty() ? "no bucket yet" : found) +
                           ": correct the option --contents");
    }
}

} // namespace

VerifyReport verifyFleet(const std::string& server, const ContentsPlace& place, Progress& progress)
{
    if (!place.bucket) {
        throw StartRefused("the contents of a database on a server are in a bucket:"
                           " correct the option --contents");
    }
    const auto dialect = store::makePostgresql(server);
    const auto sql = dialect->connect();
    const BucketChecks::Read read = [&](const auto& query) { readAtOnce(*dialect, *sql, query); };
    VerifyReport report;
    std::string known;
    requireSchema(*sql, true);
    read([&](soci::session& rows) {
        requireOpenPlace(rows, place);
        known = knownObject(rows);
        report.damages = checkRows(rows);
    });
    const SystemClock clock;
    objects::Bucket bucket(*place.bucket, requireCredentials(), clock);
    requireMarker(known, bucket);
    BucketChecks(read, bucket, progress).run(report);
    return report;
}

} // namespace kelvo::maintenance
