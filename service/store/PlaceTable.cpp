#include "service/store/PlaceTable.h"

#include "service/store/Bind.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;

std::string contentsPlace(soci::session& sql)
{
    std::string place;
    sql << "SELECT place FROM contents_place", into(place);
    return place;
}

bool mayMoveContents(soci::session& sql)
{
    int isUsed = 0;
    sql << "SELECT CASE WHEN place LIKE 's3:%' OR EXISTS (SELECT 1 FROM files)"
           " OR EXISTS (SELECT 1 FROM uploads WHERE finished = 0) THEN 1 ELSE 0 END"
           " FROM contents_place",
        into(isUsed);
    return isUsed == 0;
}

void setContentsPlace(soci::session& sql, const std::string& place)
{
    sql << "UPDATE contents_place SET place = :place", use(place);
}

std::string contentsMarker(soci::session& sql)
{
    std::string key;
    sql << "SELECT marker FROM contents_place", into(key);
    return key;
}

void setContentsMarker(Transaction& transaction, const std::string& key)
{
    transaction.sql << "UPDATE contents_place SET marker = :key WHERE marker = ''", use(key);
}

std::string unfinishedMove(soci::session& sql)
{
    std::string note;
    sql << "SELECT moving_from FROM contents_place", into(note);
    return note;
}

void setUnfinishedMove(Transaction& transaction, const std::string& note)
{
    transaction.sql << "UPDATE contents_place SET moving_from = :note", use(note);
}

std::string serviceIdentity(soci::session& sql)
{
    long long createdMs = 0;
    sql << "SELECT created_ms FROM users ORDER BY id LIMIT 1", into(createdMs);
    return sql.got_data() ? std::to_string(createdMs) : "";
}

} // namespace kelvo::store
