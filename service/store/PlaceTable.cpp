#include "service/store/PlaceTable.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;
using soci::use;

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

} // namespace kelvo::store
