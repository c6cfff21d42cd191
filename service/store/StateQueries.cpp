#include "service/store/StateQueries.h"

#include "service/store/Bind.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;

long long countSessions(soci::session& sql)
{
    long long count = 0;
    sql << "SELECT COUNT(*) FROM sessions", into(count);
    return count;
}

OpenUploads openUploads(soci::session& sql)
{
    OpenUploads open;
    sql << "SELECT COUNT(*), COALESCE(SUM(length_bytes), 0) FROM uploads WHERE finished = 0",
        into(open.count), into(open.lengthBytes);
    return open;
}

void probe(Database& database)
{
    const long long farms = database.readNow([](soci::session& sql) {
        long long value = 0;
        sql << "SELECT value FROM counters WHERE name = 'farms'", into(value);
        return value;
    });
    database.writeNow(Scope::farm(0), [farms](Transaction& transaction) {
        transaction.sql << "UPDATE counters SET value = value WHERE name = 'farms' AND value >= :n",
            use(farms);
    });
}

} // namespace kelvo::store
