#include "service/api/UnusedContents.h"

#include "service/store/FileTable.h"

namespace kelvo::api {

void removeUnusedContents(store::Database& database, content::Contents& contents,
                          content::DigestLocks& locks, const std::vector<std::string>& digests)
{
    for (const std::string& digest : digests) {
        // A request that adds a reference holds the content's lock until the reference is
        // committed.
        const auto lock = locks.tryLock(digest);
        const auto isUsed = [&digest](soci::session& sql) {
            return store::contentIsUsed(sql, digest);
        };
        if (lock && !database.readNow(isUsed)) {
            contents.remove(digest);
        }
    }
}

} // namespace kelvo::api
