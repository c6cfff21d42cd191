// The rows of files whose bytes are in an object store: uploads, contents, and their chunks.
#pragma once

#include "service/store/Database.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kelvo::store {

/** One immutable object. Exactly one row of upload_chunks, content_chunks or doomed names its key.
 */
struct Chunk
{
    std::string key;
    long long start = 0; // in the upload or content
    long long sizeBytes = 0;
    std::string sha256;

    long long end() const { return start + sizeBytes; }
    bool holds(long long offset) const { return start <= offset && offset < end(); }
};

/** The received part of an upload. */
struct Received
{
    long long sizeBytes = 0;
    long long epoch = 0;     // only the holder with the newest epoch may add chunks
    std::string digestState; // after sizeBytes; empty at 0
};

/** Makes the tables if they are missing. A service with a folder of contents does not need them. */
void makeChunkTables(Transaction& transaction);

std::optional<Received> receivedPart(soci::session& sql, const std::string& upload);

/** Makes the caller the upload's only holder, with a new epoch. Starts the upload if needed. */
Received takeOver(Transaction& transaction, const std::string& upload);

/** The key of an object that is about to be written. A crash leaves it doomed. */
void announceObject(Transaction& transaction, const std::string& key, long long nowMs);

/** The chunk that holds this byte of the upload. */
std::optional<Chunk> uploadChunkAt(soci::session& sql, const std::string& upload, long long offset);

/** The chunk of the upload that ends at this byte. */
std::optional<Chunk> chunkBefore(soci::session& sql, const std::string& upload, long long end);

/**
 * Adds an announced object, which ends the received part. It replaces the chunks from its start
 * on; they become doomed. False, and nothing is changed, if the upload has another holder or the
 * object was condemned meanwhile.
 */
bool addChunk(Transaction& transaction, const std::string& upload, const Received& before,
              const Chunk& chunk, const std::string& digestState, long long nowMs);

/**
 * Makes a content of the received part. If the content exists, dooms its old chunks, which may be
 * damaged. Removes the upload's rows. False, and nothing is changed, if the upload has another
 * holder.
 */
bool adoptChunks(Transaction& transaction, const std::string& upload, const Received& received,
                 const std::string& sha256, long long nowMs);

/** Removes the upload's rows and dooms its chunks. */
void dropReceived(Transaction& transaction, const std::string& upload, long long nowMs);

std::optional<long long> contentSize(soci::session& sql, const std::string& sha256);

/** All chunks, in order. */
std::vector<Chunk> chunksOfContent(soci::session& sql, const std::string& sha256);
std::vector<Chunk> chunksOfUpload(soci::session& sql, const std::string& upload);

/** The chunk that holds this byte of the content. */
std::optional<Chunk> chunkAt(soci::session& sql, const std::string& sha256, long long offset);

/** Dooms the content's chunks. Does nothing if a file uses the content. */
void dropContent(Transaction& transaction, const std::string& sha256, long long nowMs);

/** Contents that no file uses, at most a thousand. */
std::vector<std::string> unusedContents(soci::session& sql);

/** Received parts without an unfinished upload, at most a thousand. */
std::vector<std::string> orphanedUploads(soci::session& sql);

/** The key of an object of a content; empty: none. */
std::string someObject(soci::session& sql);

struct StoredChunks
{
    long long bytes = 0; // of all contents
    long long doomedObjects = 0;
};

/** Walks all contents. */
StoredChunks storedChunks(soci::session& sql);

/**
 * Condemns objects that were doomed before `beforeMs`: no upload can use them any more. Returns at
 * most `most` condemned objects, also of earlier calls.
 */
std::vector<std::string> condemnObjects(Transaction& transaction, long long beforeMs, int most);

/** Call after the condemned object was removed. */
void forgetObject(Transaction& transaction, const std::string& key);

/** Call if a condemned object cannot be removed: it counts as doomed from now on. */
void postponeObject(Transaction& transaction, const std::string& key, long long nowMs);

} // namespace kelvo::store
