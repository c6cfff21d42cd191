#include "service/ContentsHome.h"

#include "service/BucketHome.h"
#include "service/DataFolder.h"
#include "service/FolderHome.h"
#include "service/store/PlaceTable.h"

namespace kelvo {

namespace {

std::string described(const std::string& name)
{
    return name.empty() ? "the data folder" : name;
}

/**
 * The files of one database stay in one place. The place of an empty database may change. Returns
 * whether the place is recorded.
 */
bool requirePlace(soci::session& sql, const std::string& wanted)
{
    refuseUnfinishedMove(sql);
    const std::string found = store::contentsPlace(sql);
    if (found != wanted && !store::mayMoveContents(sql)) {
        throw StartRefused("the files of this database are in " + described(found) + ", not in " +
                           described(wanted) + ": correct the option --contents");
    }
    return found == wanted;
}

std::unique_ptr<ContentsHome> openHome(const ContentsPlace& place, const HomeParts& parts,
                                       bool isRecorded)
{
    if (place.bucket) {
        return std::make_unique<BucketHome>(*place.bucket, parts);
    }
    return std::make_unique<FolderHome>(place.folder, parts, isRecorded);
}

} // namespace

void refuseUnfinishedMove(soci::session& sql)
{
    if (!store::unfinishedMove(sql).empty()) {
        throw StartRefused("a service is moving into this database: run kelvo-service migrate"
                           " again until it has finished");
    }
}

std::unique_ptr<ContentsHome> openContents(const ContentsPlace& place, const HomeParts& parts)
{
    const std::string name = place.name(parts.dataFolder);
    const bool isRecorded =
        parts.database.readNow([&name](soci::session& sql) { return requirePlace(sql, name); });
    auto home = openHome(place, parts, isRecorded);
    if (!isRecorded) { // only now: a place that cannot be used is not recorded
        parts.database.writeNow([&name](store::Transaction& transaction) {
            requirePlace(transaction.sql, name); // another instance may have recorded its place
            store::setContentsPlace(transaction.sql, name);
        });
    }
    return home;
}

} // namespace kelvo
