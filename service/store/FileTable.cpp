#include "service/store/FileTable.h"

#include "service/store/Bind.h"
#include "service/store/FarmTable.h"
#include "service/store/InboxTable.h"
#include "service/store/PartQuery.h"
#include "service/store/QuotaTable.h"

#include <soci/soci.h>

#include <limits>
#include <set>
#include <utility>

namespace kelvo::store {

using soci::into;

namespace {

constexpr const char* selectFiles =
    "SELECT f.id, f.inbox_id, f.name, f.size_bytes, f.sha256, f.created_ms,"
    " COALESCE(f.deleted_ms, 0), COALESCE(f.deleted_by, ''), f.sender_id, COALESCE(s.name, ''),"
    " f.note FROM files f LEFT JOIN users s ON s.id = f.sender_id";

auto intoFile(soci::details::prepare_temp_type query, BinnedFile& row)
{
    return query, into(row.file.id), into(row.file.inbox), into(row.file.name),
           into(row.file.sizeBytes), into(row.file.sha256), into(row.file.createdMs),
           into(row.deletedMs), into(row.deletedBy), into(row.file.senderId),
           into(row.file.senderName), into(row.file.note);
}

} // namespace

File addFile(Transaction& transaction, Id farm, const File& file)
{
    File added = file;
    added.id = nextResourceId(transaction, farm);
    transaction.sql << "INSERT INTO files (farm_id, id, inbox_id, name, size_bytes, sha256,"
                       " created_ms, sender_id, note) VALUES (:farm, :id, :inbox, :name, :size,"
                       " :sha, :created, :sender, :note)",
        use(farm), use(added.id), use(added.inbox), use(added.name), use(added.sizeBytes),
        use(added.sha256), use(added.createdMs), use(added.senderId), use(added.note);
    countFiles(transaction, farm, ownerOf(transaction.sql, farm, added.inbox), 1, added.sizeBytes);
    return added;
}

std::optional<File> fileById(soci::session& sql, Id farm, Id file)
{
    BinnedFile row;
    soci::statement query =
        (intoFile(sql.prepare << selectFiles
                              << " WHERE f.farm_id = :farm AND f.id = :id AND f.deleted_ms IS NULL",
                  row),
         use(farm), use(file));
    return query.execute(true) ? std::optional(row.file) : std::nullopt;
}

bool nameIsInInbox(soci::session& sql, Id farm, Id inbox, const std::string& name)
{
    long long count = 0;
    sql << "SELECT COUNT(*) FROM files WHERE farm_id = :farm AND inbox_id = :inbox"
           " AND name = :name AND deleted_ms IS NULL",
        into(count), use(farm), use(inbox), use(name);
    return count > 0;
}

void setFileName(Transaction& transaction, Id farm, Id file, const std::string& name)
{
    transaction.sql << "UPDATE files SET name = :name WHERE farm_id = :farm AND id = :id",
        use(name), use(farm), use(file);
}

void moveToBin(Transaction& transaction, Id farm, Id file, const std::string& deletedBy,
               long long nowMs)
{
    transaction.sql << "UPDATE files SET deleted_ms = :now, deleted_by = :who"
                       " WHERE farm_id = :farm AND id = :id",
        use(nowMs), use(deletedBy), use(farm), use(file);
}

void binOf(soci::session& sql, Id farm, const BinPart& part,
           const std::function<bool(const BinnedFile&)>& visit)
{
    BinnedFile row;
    PartQuery query(sql);
    query.into(row.file.id, row.file.inbox, row.file.name, row.file.sizeBytes, row.file.sha256,
               row.file.createdMs, row.deletedMs, row.deletedBy, row.file.senderId,
               row.file.senderName, row.file.note);
    query.where("f.farm_id = :farm", farm);
    query.where("f.deleted_ms IS NOT NULL");
    query.filter(part.inbox, "f.inbox_id = :inbox");
    query.filter(part.name, "f.name = :name");
    if (part.after) {
        query.where("f.deleted_ms <= :until", part.after->deletedMs);
        query.where("(f.deleted_ms < :before OR f.id > :after)", part.after->deletedMs,
                    part.after->file);
    }
    query.execute(selectFiles, "f.deleted_ms DESC, f.id", part.most);
    while (query.fetch() && visit(row)) {
    }
}

namespace {

/**
 * Files to remove. SOCI must find all three parameters in the text of the condition, so an unused
 * parameter is compared with its own value.
 */
struct Selection
{
    const char* condition;
    Id farm;
    Id file;
    long long beforeMs;
};

std::vector<std::string> removeFiles(Transaction& transaction, const Selection& selection)
{
    BinnedFile row;
    Id farm = 0;
    std::vector<std::pair<Id, File>> files; // with their farms
    // One plain query: with a join the database would walk all files instead of the bin.
    soci::statement query =
        (transaction.sql.prepare << "SELECT f.farm_id, f.id, f.inbox_id, f.size_bytes, f.sha256"
                                    " FROM files f WHERE "
                                 << selection.condition << " LIMIT :most",
         into(farm), into(row.file.id), into(row.file.inbox), into(row.file.sizeBytes),
         into(row.file.sha256), use(selection.farm), use(selection.file), use(selection.beforeMs),
         use(batchFiles));
    query.execute();
    while (query.fetch()) {
        files.emplace_back(farm, row.file);
    }
    std::set<std::string> digests;
    for (const auto& [farmOfFile, file] : files) {
        const Id owner = ownerOf(transaction.sql, farmOfFile, file.inbox);
        countFiles(transaction, farmOfFile, owner, -1, -file.sizeBytes);
        transaction.sql << "DELETE FROM uploads WHERE farm_id = :farm AND first_file = :id",
            use(farmOfFile), use(file.id);
        transaction.sql << "DELETE FROM files WHERE farm_id = :farm AND id = :id", use(farmOfFile),
            use(file.id);
        digests.insert(file.sha256);
    }
    return {digests.begin(), digests.end()};
}

} // namespace

std::optional<File> restoreFromBin(Transaction& transaction, Id farm, Id file)
{
    Id found = 0;
    transaction.sql << "SELECT id FROM files WHERE farm_id = :farm AND id = :id"
                       " AND deleted_ms IS NOT NULL",
        into(found), use(farm), use(file);
    if (!transaction.sql.got_data()) {
        return std::nullopt;
    }
    transaction.sql << "UPDATE files SET deleted_ms = NULL, deleted_by = NULL"
                       " WHERE farm_id = :farm AND id = :id",
        use(farm), use(file);
    return fileById(transaction.sql, farm, file);
}

std::vector<std::string> emptyBin(Transaction& transaction, long long deletedBeforeMs)
{
    return removeFiles(transaction,
                       {"0 = :farm AND 0 = :id AND f.deleted_ms < :before", 0, 0, deletedBeforeMs});
}

void limitDeletionTimes(Transaction& transaction, long long nowMs)
{
    static constexpr long long dayMs = 24LL * 3600 * 1000;
    const long long future = nowMs + dayMs;
    transaction.sql << "UPDATE files SET deleted_ms = :now WHERE deleted_ms > :future", use(nowMs),
        use(future);
}

std::vector<std::string> purgeBin(Transaction& transaction, Id farm, long long deletedBeforeMs)
{
    return removeFiles(transaction, {"f.farm_id = :farm AND 0 = :id AND f.deleted_ms < :before",
                                     farm, 0, deletedBeforeMs});
}

std::vector<std::string> purgeFile(Transaction& transaction, Id farm, Id file)
{
    static constexpr long long anyTime = std::numeric_limits<long long>::max();
    return removeFiles(transaction, {"f.farm_id = :farm AND f.id = :id AND f.deleted_ms < :before",
                                     farm, file, anyTime});
}

bool removeSomeFilesOf(Transaction& transaction, Id farm)
{
    static constexpr long long anyTime = std::numeric_limits<long long>::max();
    return !removeFiles(transaction,
                        {"f.farm_id = :farm AND 0 = :id AND COALESCE(f.deleted_ms, 0) < :before",
                         farm, 0, anyTime})
                .empty();
}

std::vector<BinnedFile> someFilesOf(soci::session& sql, Id farm, Id inbox)
{
    BinnedFile row;
    std::vector<BinnedFile> files;
    soci::statement query =
        (intoFile(sql.prepare << selectFiles
                              << " WHERE f.farm_id = :farm AND f.inbox_id = :inbox"
                                 " ORDER BY f.id LIMIT :most",
                  row),
         use(farm), use(inbox), use(batchFiles));
    query.execute();
    while (query.fetch()) {
        files.push_back(row);
    }
    return files;
}

void moveFiles(Transaction& transaction, Id farm, const std::vector<BinnedFile>& files, Id to)
{
    soci::session& sql = transaction.sql;
    const Id newOwner = ownerOf(sql, farm, to);
    for (const BinnedFile& binned : files) {
        const File& file = binned.file;
        countFiles(transaction, farm, ownerOf(sql, farm, file.inbox), -1, -file.sizeBytes);
        countFiles(transaction, farm, newOwner, 1, file.sizeBytes);
        sql << "UPDATE files SET inbox_id = :to WHERE farm_id = :farm AND id = :id", use(to),
            use(farm), use(file.id);
    }
}

bool contentIsUsed(soci::session& sql, const std::string& sha256)
{
    int found = 0;
    sql << "SELECT 1 FROM files WHERE sha256 = :sha LIMIT 1", into(found), use(sha256);
    return sql.got_data();
}

long long countBinBefore(soci::session& sql, long long deletedBeforeMs)
{
    long long count = 0;
    sql << "SELECT COUNT(*) FROM files WHERE deleted_ms < :before", into(count),
        use(deletedBeforeMs);
    return count;
}

} // namespace kelvo::store
