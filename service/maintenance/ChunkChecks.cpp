#include "service/maintenance/ChunkChecks.h"

#include "service/base/Digest.h"
#include "service/objects/ObjectErrors.h"
#include "service/store/ChunkTable.h"

namespace kelvo::maintenance {

namespace {

constexpr const char* otherBytes = "its bytes differ from the uploaded bytes";

using ChunkAt = std::optional<store::Chunk> (*)(soci::session& sql, const std::string& name,
                                                long long offset);

/** Adds the chunks from 0 to `sizeBytes` to the digest. */
std::string damageOfChunks(soci::session& sql, objects::Bucket& bucket, ChunkAt chunkAt,
                           const std::string& name, long long sizeBytes, Sha256& digest)
{
    for (long long offset = 0; offset < sizeBytes;) {
        const auto chunk = chunkAt(sql, name, offset);
        if (!chunk || chunk->start != offset) {
            return "has no chunk at byte " + std::to_string(offset);
        }
        std::string bytes;
        try {
            bytes = bucket.get(chunk->key, 0, static_cast<std::size_t>(chunk->sizeBytes));
        } catch (const objects::ObjectMissing&) {
            return "the object " + chunk->key + " is missing";
        }
        if (sha256Hex(bytes) != chunk->sha256) {
            return otherBytes;
        }
        digest.add(bytes.data(), bytes.size());
        offset = chunk->end();
    }
    return {};
}

std::string otherSize(long long found, long long wanted)
{
    return "has " + std::to_string(found) + " bytes instead of " + std::to_string(wanted);
}

} // namespace

std::string damageOfContent(soci::session& sql, objects::Bucket& bucket,
                            const WantedContent& content)
{
    const auto size = store::contentSize(sql, content.sha256);
    if (!size) {
        return "is missing";
    }
    if (*size != content.sizeBytes) {
        return otherSize(*size, content.sizeBytes);
    }
    Sha256 digest;
    const std::string damage =
        damageOfChunks(sql, bucket, store::chunkAt, content.sha256, *size, digest);
    if (!damage.empty()) {
        return damage;
    }
    return digest.finishHex() == content.sha256 ? "" : otherBytes;
}

std::string damageOfUpload(soci::session& sql, objects::Bucket& bucket, const OpenUpload& upload)
{
    const auto received = store::receivedPart(sql, upload.id);
    if (!received) {
        return {}; // nothing was received yet
    }
    if (upload.lengthBytes >= 0 && received->sizeBytes > upload.lengthBytes) {
        return "is longer than its announced length";
    }
    Sha256 unused;
    return damageOfChunks(sql, bucket, store::uploadChunkAt, upload.id, received->sizeBytes,
                          unused);
}

} // namespace kelvo::maintenance
