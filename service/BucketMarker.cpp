#include "service/BucketMarker.h"

#include "service/base/Digest.h"
#include "service/base/Random.h"
#include "service/store/ChunkTable.h"
#include "service/store/PlaceTable.h"

#include <stdexcept>

namespace kelvo {

std::string knownObject(soci::session& sql)
{
    const std::string marker = store::contentsMarker(sql);
    return marker.empty() ? store::someObject(sql) : marker;
}

void requireMarker(const std::string& known, objects::Bucket& bucket)
{
    if (!known.empty() && !bucket.sizeOf(known)) {
        throw std::runtime_error("the bucket has no object " + known +
                                 ", so it is not the bucket of this database: correct the"
                                 " endpoint");
    }
}

void setMarker(store::Database& database, objects::Bucket& bucket)
{
    if (database.readNow(store::contentsMarker).empty()) {
        const std::string text = "marker";
        const std::string key = "markers/" + randomHex(16);
        bucket.put(key, text, sha256Hex(text));
        database.writeNow([&key](store::Transaction& transaction) {
            store::setContentsMarker(transaction, key);
        });
    }
}

} // namespace kelvo
