#include "service/store/UploadTable.h"

#include "service/base/Encoding.h"
#include "service/store/Bind.h"
#include "service/store/FileTable.h"

#include <soci/soci.h>

#include <algorithm>

namespace kelvo::store {

using soci::into;

namespace {

constexpr char warningSeparator = '\n';

constexpr const char* selectUploads =
    "SELECT id, farm_id, user_id, COALESCE(idempotency_key, ''), name, targets, length_bytes,"
    " created_ms, expires_ms, finished, sha256, files, warnings, metadata, concat FROM uploads";

/** Receives one row of selectUploads. */
struct UploadRow
{
    Upload upload;
    std::string targets;
    std::string files;
    std::string warnings;
    int finished = 0;

    Upload take() const;
};

std::vector<std::string> splitWarnings(const std::string& text)
{
    std::vector<std::string> warnings;
    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find(warningSeparator, start), text.size());
        warnings.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return warnings;
}

std::string joinWarnings(const std::vector<std::string>& warnings)
{
    std::string text;
    for (const std::string& warning : warnings) {
        text += warning + warningSeparator;
    }
    return text;
}

Upload UploadRow::take() const
{
    Upload result = upload;
    result.targets = splitIds(targets).value_or(std::vector<Id>());
    result.files = splitIds(files).value_or(std::vector<Id>());
    result.warnings = splitWarnings(warnings);
    result.finished = finished != 0;
    return result;
}

auto intoUpload(soci::details::prepare_temp_type query, UploadRow& row)
{
    return query, into(row.upload.id), into(row.upload.farm), into(row.upload.user),
           into(row.upload.key), into(row.upload.name), into(row.targets),
           into(row.upload.lengthBytes), into(row.upload.createdMs), into(row.upload.expiresMs),
           into(row.finished), into(row.upload.sha256), into(row.files), into(row.warnings),
           into(row.upload.metadata), into(row.upload.concat);
}

bool changesARow(soci::statement& change)
{
    change.execute(true);
    return change.get_affected_rows() > 0;
}

} // namespace

std::string joinIds(const std::vector<Id>& ids)
{
    std::string text;
    for (const Id id : ids) {
        text += (text.empty() ? "" : ",") + std::to_string(id);
    }
    return text;
}

std::optional<std::vector<Id>> splitIds(const std::string& text)
{
    std::vector<Id> ids;
    for (std::size_t start = 0; start <= text.size();) {
        const std::size_t end = std::min(text.find(',', start), text.size());
        const auto id = parseId(trimmed(std::string_view(text).substr(start, end - start)));
        if (!id) {
            return std::nullopt;
        }
        ids.push_back(*id);
        start = end + 1;
    }
    return ids;
}

void addUpload(Transaction& transaction, const Upload& upload)
{
    const std::string targets = joinIds(upload.targets);
    soci::indicator hasKey = upload.key.empty() ? soci::i_null : soci::i_ok;
    transaction.sql << "INSERT INTO uploads (id, farm_id, user_id, idempotency_key, name, targets,"
                       " length_bytes, created_ms, expires_ms, finished, sha256, files, warnings,"
                       " metadata, concat) VALUES (:id, :farm, :user, :key, :name, :targets,"
                       " :length, :created, :expires, 0, '', '', '', :metadata, :concat)",
        use(upload.id), use(upload.farm), use(upload.user), use(upload.key, hasKey),
        use(upload.name), use(targets), use(upload.lengthBytes), use(upload.createdMs),
        use(upload.expiresMs), use(upload.metadata), use(upload.concat);
}

std::optional<Upload> uploadById(soci::session& sql, const std::string& id)
{
    UploadRow row;
    soci::statement query =
        (intoUpload(sql.prepare << selectUploads << " WHERE id = :id", row), use(id));
    return query.execute(true) ? std::optional(row.take()) : std::nullopt;
}

std::optional<Upload> uploadByKey(soci::session& sql, Id user, const std::string& key)
{
    UploadRow row;
    soci::statement query =
        (intoUpload(sql.prepare << selectUploads
                                << " WHERE user_id = :user AND idempotency_key = :key",
                    row),
         use(user), use(key));
    return query.execute(true) ? std::optional(row.take()) : std::nullopt;
}

void finishUpload(Transaction& transaction, const Upload& upload)
{
    const std::string files = joinIds(upload.files);
    const std::string warnings = joinWarnings(upload.warnings);
    const Id first = upload.files.empty() ? 0 : upload.files.front();
    transaction.sql << "UPDATE uploads SET finished = 1, sha256 = :sha, files = :files,"
                       " first_file = :first, warnings = :warnings WHERE id = :id",
        use(upload.sha256), use(files), use(first), use(warnings), use(upload.id);
}

void forgetKey(Transaction& transaction, const std::string& id)
{
    transaction.sql << "UPDATE uploads SET idempotency_key = NULL WHERE id = :id", use(id);
}

bool extendUpload(Transaction& transaction, const std::string& id, long long expiresMs)
{
    soci::statement change =
        (transaction.sql.prepare
             << "UPDATE uploads SET expires_ms = :expires WHERE id = :id AND finished = 0",
         use(expiresMs), use(id));
    return changesARow(change);
}

bool setUploadLength(Transaction& transaction, const std::string& id, long long lengthBytes)
{
    soci::statement change = (transaction.sql.prepare << "UPDATE uploads SET length_bytes = :length"
                                                         " WHERE id = :id AND length_bytes < 0",
                              use(lengthBytes), use(id));
    return changesARow(change);
}

bool setClaimedBytes(Transaction& transaction, const std::string& id, long long bytes)
{
    soci::statement change =
        (transaction.sql.prepare
             << "UPDATE uploads SET held_bytes = :held WHERE id = :id AND finished = 0",
         use(bytes), use(id));
    return changesARow(change);
}

bool removeUnfinishedUpload(Transaction& transaction, const std::string& id)
{
    soci::statement change =
        (transaction.sql.prepare << "DELETE FROM uploads WHERE id = :id AND finished = 0", use(id));
    return changesARow(change);
}

void eachUnfinishedUploadOf(soci::session& sql, const User& user,
                            const std::function<void(const Upload&)>& visit)
{
    UploadRow row;
    const Id farm = user.farmId();
    soci::statement query =
        (intoUpload(sql.prepare << selectUploads
                                << " WHERE farm_id = :farm AND user_id = :user AND finished = 0"
                                   " ORDER BY created_ms, id",
                    row),
         use(farm), use(user.id));
    query.execute();
    while (query.fetch()) {
        visit(row.take());
    }
}

std::vector<std::string> expiredUploads(soci::session& sql, ExpiryTime now)
{
    std::string id;
    std::vector<std::string> ids;
    soci::statement query =
        (sql.prepare << "SELECT id FROM uploads WHERE finished = 0 AND expires_ms <= :now",
         into(id), use(now.ms));
    query.execute();
    while (query.fetch()) {
        ids.push_back(id);
    }
    return ids;
}

void limitUploadExpiry(Transaction& transaction, long long latestMs)
{
    static constexpr long long dayMs = 24LL * 3600 * 1000;
    const long long future = latestMs + dayMs;
    transaction.sql << "UPDATE uploads SET expires_ms = :latest"
                       " WHERE finished = 0 AND expires_ms > :future",
        use(latestMs), use(future);
}

bool removeExpiredUpload(Transaction& transaction, const std::string& id, ExpiryTime now)
{
    soci::statement change =
        (transaction.sql.prepare
             << "DELETE FROM uploads WHERE id = :id AND finished = 0 AND expires_ms <= :now",
         use(id), use(now.ms));
    return changesARow(change);
}

bool isRepeatable(soci::session& sql, const Upload& upload)
{
    return std::all_of(upload.files.begin(), upload.files.end(), [&sql, &upload](Id file) {
        return fileById(sql, upload.farm, file).has_value();
    });
}

void forgetOldResults(Transaction& transaction, ExpiryTime now)
{
    transaction.sql << "DELETE FROM uploads WHERE finished = 1 AND idempotency_key IS NULL"
                       " AND expires_ms <= :now",
        use(now.ms);
}

} // namespace kelvo::store
