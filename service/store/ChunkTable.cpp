#include "service/store/ChunkTable.h"

#include "service/store/Bind.h"
#include "service/store/FileTable.h"

#include <soci/soci.h>

namespace kelvo::store {

using soci::into;

namespace {

// A digest state has 104 bytes, in hexadecimal. A doomed object with condemned = 0 may still become
// a chunk.
constexpr const char* tables[] = {
    "CREATE TABLE IF NOT EXISTS received (upload VARCHAR(64) PRIMARY KEY,"
    " size_bytes BIGINT NOT NULL, epoch BIGINT NOT NULL, digest_state VARCHAR(208) NOT NULL)",
    "CREATE TABLE IF NOT EXISTS upload_chunks (upload VARCHAR(64) NOT NULL,"
    " start_byte BIGINT NOT NULL, size_bytes BIGINT NOT NULL, object_key VARCHAR(64) NOT NULL,"
    " sha256 VARCHAR(64) NOT NULL, PRIMARY KEY (upload, start_byte))",
    "CREATE TABLE IF NOT EXISTS contents (sha256 VARCHAR(64) PRIMARY KEY,"
    " size_bytes BIGINT NOT NULL)",
    "CREATE TABLE IF NOT EXISTS content_chunks (content VARCHAR(64) NOT NULL,"
    " start_byte BIGINT NOT NULL, size_bytes BIGINT NOT NULL, object_key VARCHAR(64) NOT NULL,"
    " sha256 VARCHAR(64) NOT NULL, PRIMARY KEY (content, start_byte))",
    "CREATE TABLE IF NOT EXISTS doomed (object_key VARCHAR(64) PRIMARY KEY,"
    " since_ms BIGINT NOT NULL, condemned INTEGER NOT NULL)",
    "CREATE INDEX IF NOT EXISTS doomed_by_time ON doomed (since_ms)",
};

std::vector<std::string> column(soci::session& sql, const char* query)
{
    std::string value;
    std::vector<std::string> values;
    soci::statement rows = (sql.prepare << query, into(value));
    rows.execute();
    while (rows.fetch()) {
        values.push_back(value);
    }
    return values;
}

bool changesARow(soci::statement& change)
{
    change.execute(true);
    return change.get_affected_rows() > 0;
}

void doomUploadChunks(Transaction& transaction, const std::string& upload, long long start,
                      long long nowMs)
{
    transaction.sql << "INSERT INTO doomed (object_key, since_ms, condemned)"
                       " SELECT object_key, CAST(:now AS BIGINT), 0 FROM upload_chunks"
                       " WHERE upload = :upload AND start_byte >= :start",
        use(nowMs), use(upload), use(start);
}

void doomContentChunks(Transaction& transaction, const std::string& sha256, long long nowMs)
{
    transaction.sql << "INSERT INTO doomed (object_key, since_ms, condemned)"
                       " SELECT object_key, CAST(:now AS BIGINT), 0 FROM content_chunks"
                       " WHERE content = :sha",
        use(nowMs), use(sha256);
    transaction.sql << "DELETE FROM content_chunks WHERE content = :sha", use(sha256);
}

} // namespace

void makeChunkTables(Transaction& transaction)
{
    for (const char* statement : tables) {
        transaction.sql << statement;
    }
}

std::optional<Received> receivedPart(soci::session& sql, const std::string& upload)
{
    Received found;
    sql << "SELECT size_bytes, epoch, digest_state FROM received WHERE upload = :upload",
        into(found.sizeBytes), into(found.epoch), into(found.digestState), use(upload);
    return sql.got_data() ? std::optional(found) : std::nullopt;
}

Received takeOver(Transaction& transaction, const std::string& upload)
{
    Received taken;
    transaction.sql << "INSERT INTO received (upload, size_bytes, epoch, digest_state)"
                       " VALUES (:upload, 0, 1, '')"
                       " ON CONFLICT (upload) DO UPDATE SET epoch = received.epoch + 1"
                       " RETURNING size_bytes, epoch, digest_state",
        into(taken.sizeBytes), into(taken.epoch), into(taken.digestState), use(upload);
    return taken;
}

void announceObject(Transaction& transaction, const std::string& key, long long nowMs)
{
    transaction.sql
        << "INSERT INTO doomed (object_key, since_ms, condemned) VALUES (:key, :now, 0)",
        use(key), use(nowMs);
}

std::optional<Chunk> chunkBefore(soci::session& sql, const std::string& upload, long long end)
{
    auto chunk = uploadChunkAt(sql, upload, end - 1);
    return chunk && chunk->end() == end ? chunk : std::nullopt;
}

bool addChunk(Transaction& transaction, const std::string& upload, const Received& before,
              const Chunk& chunk, const std::string& digestState, long long nowMs)
{
    // Only a statement that changes a row locks the row on every database.
    soci::statement announced =
        (transaction.sql.prepare << "UPDATE doomed SET since_ms = since_ms"
                                    " WHERE object_key = :key AND condemned = 0",
         use(chunk.key));
    if (!changesARow(announced)) {
        return false;
    }
    const long long end = chunk.end();
    soci::statement change =
        (transaction.sql.prepare
             << "UPDATE received SET size_bytes = :end, digest_state = :state"
                " WHERE upload = :upload AND epoch = :epoch AND size_bytes = :before",
         use(end), use(digestState), use(upload), use(before.epoch), use(before.sizeBytes));
    if (!changesARow(change)) {
        return false;
    }
    doomUploadChunks(transaction, upload, chunk.start, nowMs);
    transaction.sql << "DELETE FROM upload_chunks WHERE upload = :upload AND start_byte >= :start",
        use(upload), use(chunk.start);
    transaction.sql << "INSERT INTO upload_chunks (upload, start_byte, size_bytes, object_key,"
                       " sha256) VALUES (:upload, :start, :size, :key, :sha)",
        use(upload), use(chunk.start), use(chunk.sizeBytes), use(chunk.key), use(chunk.sha256);
    forgetObject(transaction, chunk.key);
    return true;
}

bool adoptChunks(Transaction& transaction, const std::string& upload, const Received& received,
                 const std::string& sha256, long long nowMs)
{
    soci::statement check =
        (transaction.sql.prepare << "UPDATE received SET epoch = epoch WHERE upload = :upload"
                                    " AND epoch = :epoch AND size_bytes = :size",
         use(upload), use(received.epoch), use(received.sizeBytes));
    if (!changesARow(check)) {
        return false;
    }
    // Farms may receive equal contents at the same time: also a row that exists is locked here.
    transaction.sql << "INSERT INTO contents (sha256, size_bytes) VALUES (:sha, :size)"
                       " ON CONFLICT (sha256) DO UPDATE SET size_bytes = excluded.size_bytes",
        use(sha256), use(received.sizeBytes);
    // The old chunks of an equal content may be damaged or missing.
    doomContentChunks(transaction, sha256, nowMs);
    transaction.sql << "INSERT INTO content_chunks (content, start_byte, size_bytes,"
                       " object_key, sha256) SELECT CAST(:sha AS VARCHAR(64)), start_byte,"
                       " size_bytes, object_key, sha256 FROM upload_chunks"
                       " WHERE upload = :upload",
        use(sha256), use(upload);
    transaction.sql << "DELETE FROM upload_chunks WHERE upload = :upload", use(upload);
    transaction.sql << "DELETE FROM received WHERE upload = :upload", use(upload);
    return true;
}

void dropReceived(Transaction& transaction, const std::string& upload, long long nowMs)
{
    // Locks the row before the chunks are read. If a transaction of another scope has made a
    // content of the chunks, this statement waits for its commit, and then there are no chunks.
    transaction.sql << "DELETE FROM received WHERE upload = :upload", use(upload);
    doomUploadChunks(transaction, upload, 0, nowMs);
    transaction.sql << "DELETE FROM upload_chunks WHERE upload = :upload", use(upload);
}

std::optional<long long> contentSize(soci::session& sql, const std::string& sha256)
{
    long long size = 0;
    sql << "SELECT size_bytes FROM contents WHERE sha256 = :sha", into(size), use(sha256);
    return sql.got_data() ? std::optional(size) : std::nullopt;
}

namespace {

/** `rows`: a table and the condition for its owner, with the name :owner. */
std::optional<Chunk> chunkIn(soci::session& sql, const std::string& rows, const std::string& owner,
                             long long offset)
{
    Chunk chunk;
    sql << "SELECT object_key, start_byte, size_bytes, sha256 FROM " + rows +
               " AND start_byte <= :offset ORDER BY start_byte DESC LIMIT 1",
        into(chunk.key), into(chunk.start), into(chunk.sizeBytes), into(chunk.sha256), use(owner),
        use(offset);
    return sql.got_data() && chunk.holds(offset) ? std::optional(chunk) : std::nullopt;
}

/** `rows`: a table and the condition for its owner, with the name :owner. */
std::vector<Chunk> chunksIn(soci::session& sql, const std::string& rows, const std::string& owner)
{
    Chunk chunk;
    std::vector<Chunk> chunks;
    soci::statement query =
        (sql.prepare << "SELECT object_key, start_byte, size_bytes, sha256 FROM " + rows +
                            " ORDER BY start_byte",
         into(chunk.key), into(chunk.start), into(chunk.sizeBytes), into(chunk.sha256), use(owner));
    query.execute();
    while (query.fetch()) {
        chunks.push_back(chunk);
    }
    return chunks;
}

} // namespace

std::vector<Chunk> chunksOfContent(soci::session& sql, const std::string& sha256)
{
    return chunksIn(sql, "content_chunks WHERE content = :owner", sha256);
}

std::vector<Chunk> chunksOfUpload(soci::session& sql, const std::string& upload)
{
    return chunksIn(sql, "upload_chunks WHERE upload = :owner", upload);
}

std::optional<Chunk> chunkAt(soci::session& sql, const std::string& sha256, long long offset)
{
    return chunkIn(sql, "content_chunks WHERE content = :owner", sha256, offset);
}

std::optional<Chunk> uploadChunkAt(soci::session& sql, const std::string& upload, long long offset)
{
    return chunkIn(sql, "upload_chunks WHERE upload = :owner", upload, offset);
}

void dropContent(Transaction& transaction, const std::string& sha256, long long nowMs)
{
    if (contentIsUsed(transaction.sql, sha256)) {
        return;
    }
    doomContentChunks(transaction, sha256, nowMs);
    transaction.sql << "DELETE FROM contents WHERE sha256 = :sha", use(sha256);
}

std::vector<std::string> unusedContents(soci::session& sql)
{
    return column(sql, "SELECT sha256 FROM contents WHERE NOT EXISTS (SELECT 1 FROM files"
                       " WHERE files.sha256 = contents.sha256) LIMIT 1000");
}

std::vector<std::string> orphanedUploads(soci::session& sql)
{
    return column(sql, "SELECT upload FROM received WHERE NOT EXISTS (SELECT 1 FROM uploads"
                       " WHERE uploads.id = received.upload AND uploads.finished = 0) LIMIT 1000");
}

std::string someObject(soci::session& sql)
{
    std::string key;
    sql << "SELECT object_key FROM content_chunks LIMIT 1", into(key);
    return key;
}

StoredChunks storedChunks(soci::session& sql)
{
    StoredChunks stored;
    sql << "SELECT CAST(COALESCE(SUM(size_bytes), 0) AS BIGINT) FROM contents", into(stored.bytes);
    sql << "SELECT COUNT(*) FROM doomed", into(stored.doomedObjects);
    return stored;
}

std::vector<std::string> condemnObjects(Transaction& transaction, long long beforeMs, int most)
{
    transaction.sql << "UPDATE doomed SET condemned = 1 WHERE object_key IN (SELECT object_key"
                       " FROM doomed WHERE since_ms < :before ORDER BY since_ms LIMIT :most)",
        use(beforeMs), use(most);
    std::string key;
    std::vector<std::string> keys;
    soci::statement query =
        (transaction.sql.prepare
             << "SELECT object_key FROM doomed WHERE condemned = 1 AND since_ms < :before"
                " ORDER BY since_ms LIMIT :most",
         into(key), use(beforeMs), use(most));
    query.execute();
    while (query.fetch()) {
        keys.push_back(key);
    }
    return keys;
}

void forgetObject(Transaction& transaction, const std::string& key)
{
    transaction.sql << "DELETE FROM doomed WHERE object_key = :key", use(key);
}

void postponeObject(Transaction& transaction, const std::string& key, long long nowMs)
{
    transaction.sql << "UPDATE doomed SET since_ms = :now WHERE object_key = :key", use(nowMs),
        use(key);
}

} // namespace kelvo::store
