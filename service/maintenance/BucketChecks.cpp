#include "service/maintenance/BucketChecks.h"

#include "service/base/Digest.h"
#include "service/maintenance/AtOnce.h"
#include "service/objects/ObjectErrors.h"
#include "service/store/ChunkTable.h"
#include "service/store/FileTable.h"

namespace kelvo::maintenance {

namespace {

/** Reads the object of a chunk. Returns what is damaged. */
std::string damageOfObject(objects::Bucket& bucket, const store::Chunk& chunk, std::string& bytes)
{
    const std::string object = "the object " + chunk.key + " of the bucket " + bucket.name();
    try {
        bytes = bucket.get(chunk.key, 0, static_cast<std::size_t>(chunk.sizeBytes));
    } catch (const objects::ObjectMissing&) {
        return object + " is missing";
    } catch (const Unavailable&) {
        if (bucket.sizeOf(chunk.key) == static_cast<std::uint64_t>(chunk.sizeBytes)) {
            throw;
        }
        return object + " has another size";
    }
    return sha256Hex(bytes) == chunk.sha256 ? "" : object + " has other bytes";
}

/** Adds the chunks to the digest. Returns what is damaged. */
std::string damageOfChunks(objects::Bucket& bucket, const std::vector<store::Chunk>& chunks,
                           long long sizeBytes, Sha256& digest)
{
    long long end = 0;
    for (const store::Chunk& chunk : chunks) {
        if (chunk.start != end) {
            break;
        }
        std::string bytes;
        std::string damage = damageOfObject(bucket, chunk, bytes);
        if (!damage.empty()) {
            return damage;
        }
        digest.add(bytes.data(), bytes.size());
        end = chunk.end();
    }
    return end >= sizeBytes ? "" : "has no chunk at byte " + std::to_string(end);
}

/** Rows may be replaced during a check: a damage counts if a second check finds one too. */
std::string foundTwice(const std::function<std::string()>& check)
{
    return check().empty() ? "" : check();
}

} // namespace

void BucketChecks::read(const std::function<void(soci::session&)>& query)
{
    const std::lock_guard lock(reading_);
    read_(query);
}

std::string BucketChecks::damageOf(const WantedContent& content)
{
    std::optional<long long> size;
    std::vector<store::Chunk> chunks;
    bool isUsed = true;
    read([&](soci::session& sql) {
        isUsed = store::contentIsUsed(sql, content.sha256);
        size = store::contentSize(sql, content.sha256);
        chunks = store::chunksOfContent(sql, content.sha256);
    });
    if (!isUsed) {
        return {}; // its last file was removed meanwhile
    }
    if (!size) {
        return "is missing";
    }
    if (*size != content.sizeBytes) {
        return "has " + std::to_string(*size) + " bytes instead of " +
               std::to_string(content.sizeBytes);
    }
    Sha256 digest;
    std::string damage = damageOfChunks(bucket_, chunks, *size, digest);
    if (!damage.empty()) {
        return damage;
    }
    return digest.finishHex() == content.sha256 ? "" : "its bytes differ from the uploaded bytes";
}

std::string BucketChecks::damageOf(const OpenUpload& upload)
{
    std::optional<store::Received> received;
    std::vector<store::Chunk> chunks;
    read([&](soci::session& sql) {
        received = store::receivedPart(sql, upload.id);
        chunks = store::chunksOfUpload(sql, upload.id);
    });
    if (!received) {
        return {}; // nothing was received yet
    }
    if (upload.lengthBytes >= 0 && received->sizeBytes > upload.lengthBytes) {
        return "is longer than its announced length";
    }
    Sha256 unused;
    return damageOfChunks(bucket_, chunks, received->sizeBytes, unused);
}

void BucketChecks::run(VerifyReport& report, std::set<std::string>* right)
{
    ContentTotals totals;
    read([&totals](soci::session& sql) { totals = contentTotals(sql); });
    progress_.begin("contents checked", static_cast<std::uint64_t>(totals.contents),
                    static_cast<std::uint64_t>(totals.bytes));
    std::vector<WantedContent> page;
    do {
        const std::string after = page.empty() ? "" : page.back().sha256;
        read([&](soci::session& sql) { page = wantedContents(sql, after, contentsPerPage); });
        checkPage(page, report, right);
    } while (!page.empty());
    checkUploads(report);
}

void BucketChecks::checkPage(const std::vector<WantedContent>& page, VerifyReport& report,
                             std::set<std::string>* right)
{
    const auto check = [&](std::size_t number) {
        const WantedContent& content = page[number];
        std::unique_lock lock(reporting_);
        const bool isKnown = right != nullptr && right->contains(content.sha256);
        lock.unlock();
        const std::string damage = isKnown ? "" : foundTwice([&] { return damageOf(content); });
        lock.lock();
        ++report.contents;
        if (!damage.empty()) {
            report.damages.push_back("content " + content.sha256 + " (" + content.firstFile +
                                     "): " + damage);
            report.damagedBucket = bucket_.name();
        } else {
            report.bytes += static_cast<std::uint64_t>(content.sizeBytes);
        }
        if (damage.empty() && right != nullptr) {
            right->insert(content.sha256);
        }
        progress_.add(1, static_cast<std::uint64_t>(content.sizeBytes));
    };
    runAtOnce(page.size(), check);
}

void BucketChecks::checkUploads(VerifyReport& report)
{
    std::vector<OpenUpload> uploads;
    read([&uploads](soci::session& sql) { uploads = openUploads(sql); });
    progress_.begin("uploads checked", uploads.size());
    const auto check = [&](std::size_t number) {
        const OpenUpload& upload = uploads[number];
        const std::string damage = foundTwice([&] { return damageOf(upload); });
        progress_.add(1);
        if (!damage.empty()) {
            const std::lock_guard lock(reporting_);
            report.damages.push_back("upload " + upload.id + ": " + damage);
            report.damagedBucket = bucket_.name();
        }
    };
    runAtOnce(uploads.size(), check);
}

} // namespace kelvo::maintenance
