#include "service/chunks/ChunkedContents.h"

#include "service/base/Digest.h"
#include "service/base/Log.h"
#include "service/base/Random.h"
#include "service/chunks/DigestState.h"
#include "service/objects/ObjectErrors.h"
#include "service/store/ChunkTable.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <optional>
#include <string_view>

namespace kelvo::chunks {

using content::Adoption;
using content::DamagedContent;
using content::Reader;
using content::Receiver;
using content::Superseded;

namespace {

constexpr long long doomedForMs = 24LL * 3600 * 1000;
constexpr int mostRemoved = 1000; // in one step
constexpr int mostFailures = 3;   // in a row; then the object store is down

/** The parts that receivers and readers share. */
struct Parts
{
    store::Database& database;
    objects::Bucket& bucket;
    const Clock& clock;
};

/** Throws DamagedContent if the object is missing or has other bytes. */
std::string fetchChecked(objects::Bucket& bucket, const store::Chunk& chunk)
{
    std::string bytes;
    try {
        bytes = bucket.get(chunk.key, 0, static_cast<std::size_t>(chunk.sizeBytes));
    } catch (const objects::ObjectMissing&) {
        throw DamagedContent();
    }
    if (sha256Hex(bytes) != chunk.sha256) {
        throw DamagedContent();
    }
    return bytes;
}

class ChunkAdoption final : public Adoption
{
public:
    ChunkAdoption(const Parts& parts, std::string upload, store::Received received,
                  std::string sha256)
        : parts_(parts),
          upload_(std::move(upload)),
          received_(std::move(received)),
          sha256_(std::move(sha256))
    {}

    void join(store::Transaction& transaction) override
    {
        if (!store::adoptChunks(transaction, upload_, received_, sha256_, parts_.clock.nowMs())) {
            throw Superseded();
        }
    }

    bool leavesUpload() const override { return false; }
    void committed() noexcept override {}
    void rolledBack() noexcept override {}

private:
    Parts parts_;
    std::string upload_;
    store::Received received_;
    std::string sha256_;
};

class ChunkReceiver final : public Receiver
{
public:
    ChunkReceiver(const Parts& parts, std::string upload, std::size_t chunkBytes)
        : parts_(parts), upload_(std::move(upload)), chunkBytes_(chunkBytes)
    {
        received_ = parts_.database.writeNow(scope(), [this](store::Transaction& transaction) {
            return store::takeOver(transaction, upload_);
        });
        digest_ = DigestState(received_.digestState);
    }

    std::uint64_t offset() const override
    {
        return static_cast<std::uint64_t>(received_.sizeBytes) + chunk_.size() - joinedBytes_;
    }

    void append(const void* data, std::size_t sizeBytes) override
    {
        const char* next = static_cast<const char*>(data);
        while (sizeBytes > 0) {
            if (chunk_.size() == chunkBytes_) {
                flush(); // an earlier attempt failed, or the chunk is full
            }
            const std::size_t taken = std::min(sizeBytes, chunkBytes_ - chunk_.size());
            chunk_.append(next, taken);
            digest_.add(next, taken);
            next += taken;
            sizeBytes -= taken;
        }
    }

    /** If the object store fails, the bytes stay in memory, and the next call tries again. */
    void flush() override
    {
        if (chunk_.empty()) {
            return;
        }
        joinShortChunks();
        const store::Chunk chunk{"chunks/" + randomHex(16), start(),
                                 static_cast<long long>(chunk_.size()), sha256Hex(chunk_)};
        parts_.database.writeNow(scope(), [this, &chunk](store::Transaction& transaction) {
            store::announceObject(transaction, chunk.key, parts_.clock.nowMs());
        });
        parts_.bucket.put(chunk.key, chunk_, chunk.sha256);
        commit(chunk);
    }

    void suspend() override { flush(); }

    std::string finish() override
    {
        flush();
        return digest_.sha256();
    }

    std::unique_ptr<Adoption> adopt() override
    {
        return std::make_unique<ChunkAdoption>(parts_, upload_, received_, digest_.sha256());
    }

private:
    store::Scope scope() const { return store::Scope::upload(upload_); }

    /** The first byte of chunk_ in the upload. */
    long long start() const { return received_.sizeBytes - static_cast<long long>(joinedBytes_); }

    /**
     * Joins the previous chunks to chunk_ while each is at most as long as chunk_. So the number of
     * chunks grows with the logarithm of the number of flushes. The number of times that a byte
     * is written grows likewise.
     */
    void joinShortChunks()
    {
        for (;;) {
            const auto last = parts_.database.readNow(
                [this](soci::session& sql) { return store::chunkBefore(sql, upload_, start()); });
            const std::size_t size = last ? static_cast<std::size_t>(last->sizeBytes) : 0;
            if (!last || size > chunk_.size() || size + chunk_.size() > chunkBytes_) {
                return;
            }
            try {
                chunk_.insert(0, fetchChecked(parts_.bucket, *last));
                joinedBytes_ += size;
            } catch (const std::runtime_error& error) {
                logWarning("chunks-not-joined", error.what());
                return;
            }
        }
    }

    void commit(const store::Chunk& chunk)
    {
        const std::string state = digest_.save();
        parts_.database.writeNow(scope(), [&](store::Transaction& transaction) {
            if (!store::addChunk(transaction, upload_, received_, chunk, state,
                                 parts_.clock.nowMs())) {
                throw Superseded();
            }
        });
        received_.sizeBytes = chunk.start + chunk.sizeBytes;
        received_.digestState = state;
        chunk_.clear();
        joinedBytes_ = 0;
    }

    Parts parts_;
    std::string upload_;
    std::size_t chunkBytes_;
    store::Received received_;
    DigestState digest_; // of the flushed bytes and chunk_
    std::string chunk_;  // joined bytes, then the bytes that are not flushed
    std::size_t joinedBytes_ = 0;
};

/** Finds the chunk of an upload or content that holds the byte. */
using ChunkAt = std::optional<store::Chunk> (*)(soci::session& sql, const std::string& name,
                                                long long offset);

class ChunkReader final : public Reader
{
public:
    ChunkReader(const Parts& parts, ChunkAt chunkAt, std::string name, long long sizeBytes)
        : parts_(parts),
          chunkAt_(chunkAt),
          name_(std::move(name)),
          sizeBytes_(static_cast<std::uint64_t>(sizeBytes))
    {}

    std::uint64_t sizeBytes() const override { return sizeBytes_; }
    std::optional<content::FileStamp> stamp() const override { return std::nullopt; }

    std::size_t read(std::uint64_t offset, void* buffer, std::size_t mostBytes) override
    {
        if (offset >= sizeBytes_) {
            return 0;
        }
        if (offset < start_ || offset - start_ >= bytes_.size()) {
            fetch(offset);
        }
        const auto at = static_cast<std::size_t>(offset - start_);
        const std::size_t count = std::min(mostBytes, bytes_.size() - at);
        std::memcpy(buffer, bytes_.data() + at, count);
        return count;
    }

private:
    /** Fetches the chunk that holds this byte. */
    void fetch(std::uint64_t offset)
    {
        const auto chunk = parts_.database.readNow([this, offset](soci::session& sql) {
            return chunkAt_(sql, name_, static_cast<long long>(offset));
        });
        if (!chunk) {
            throw DamagedContent();
        }
        bytes_.clear(); // only one chunk is in memory
        bytes_ = fetchChecked(parts_.bucket, *chunk);
        start_ = static_cast<std::uint64_t>(chunk->start);
    }

    Parts parts_;
    ChunkAt chunkAt_;
    std::string name_;
    std::uint64_t sizeBytes_;
    std::uint64_t start_ = 0;
    std::string bytes_; // the checked chunk from start_ on
};

} // namespace

ChunkedContents::ChunkedContents(store::Database& database, objects::Bucket& bucket,
                                 const Clock& clock, std::size_t chunkBytes)
    : database_(database), bucket_(bucket), clock_(clock), chunkBytes_(chunkBytes)
{
    if (chunkBytes == 0 || chunkBytes > objects::largestObjectBytes) {
        throw std::invalid_argument("not a size of chunks");
    }
    database_.writeNow(store::makeChunkTables);
}

/** The present chunk, and a chunk that is joined to it. */
std::uint64_t ChunkedContents::receiverMemory(long long sizeBytes) const
{
    return 2 * readerMemory(sizeBytes);
}

std::uint64_t ChunkedContents::readerMemory(long long sizeBytes) const
{
    const bool isKnown = sizeBytes >= 0;
    const auto chunk = static_cast<std::uint64_t>(chunkBytes_);
    return isKnown ? std::min(static_cast<std::uint64_t>(sizeBytes), chunk) : chunk;
}

std::uint64_t ChunkedContents::keptBytes(const std::string& upload)
{
    const auto received = database_.readNow(
        [&upload](soci::session& sql) { return store::receivedPart(sql, upload); });
    return received ? static_cast<std::uint64_t>(received->sizeBytes) : 0;
}

std::unique_ptr<Receiver> ChunkedContents::receive(const std::string& upload)
{
    return std::make_unique<ChunkReceiver>(Parts{database_, bucket_, clock_}, upload, chunkBytes_);
}

std::unique_ptr<Reader> ChunkedContents::openUpload(const std::string& upload)
{
    const auto received = database_.readNow(
        [&upload](soci::session& sql) { return store::receivedPart(sql, upload); });
    return received
               ? std::make_unique<ChunkReader>(Parts{database_, bucket_, clock_},
                                               store::uploadChunkAt, upload, received->sizeBytes)
               : nullptr;
}

void ChunkedContents::removeUpload(const std::string& upload)
{
    database_.writeNow(store::Scope::upload(upload), [&](store::Transaction& transaction) {
        store::dropReceived(transaction, upload, clock_.nowMs());
    });
}

std::unique_ptr<Reader> ChunkedContents::open(const std::string& sha256)
{
    const auto size = database_.readNow(
        [&sha256](soci::session& sql) { return store::contentSize(sql, sha256); });
    return size ? std::make_unique<ChunkReader>(Parts{database_, bucket_, clock_}, store::chunkAt,
                                                sha256, *size)
                : nullptr;
}

void ChunkedContents::remove(const std::string& sha256)
{
    database_.writeNow([this, &sha256](store::Transaction& transaction) {
        store::dropContent(transaction, sha256, clock_.nowMs());
    });
}

std::size_t ChunkedContents::removeDoomedObjects()
{
    std::size_t removed = 0;
    for (;;) {
        const long long before = clock_.expiryNow().ms - doomedForMs;
        const auto keys = database_.writeNow([before](store::Transaction& transaction) {
            return store::condemnObjects(transaction, before, mostRemoved);
        });
        if (keys.empty()) {
            return removed;
        }
        removed += removeObjects(keys);
    }
}

/** Returns the number of removed objects. */
std::size_t ChunkedContents::removeObjects(const std::vector<std::string>& keys)
{
    std::vector<std::string> removed;
    std::vector<std::string> failed;
    std::exception_ptr failure;
    int failuresInARow = 0;
    for (auto key = keys.begin(); key != keys.end() && !failure; ++key) {
        try {
            bucket_.remove(*key);
            removed.push_back(*key);
            failuresInARow = 0;
        } catch (const std::exception& error) {
            if (bucket_.isLimited()) {
                failure = std::current_exception(); // the service stops; the clean-up of the next
                                                    // start goes on
                continue;
            }
            logWarning("object-not-removed", *key + ": " + error.what());
            failed.push_back(*key);
            failure = ++failuresInARow == mostFailures ? std::current_exception() : nullptr;
        }
    }
    failedRemovals_ += failed.size();
    database_.writeNow([this, &removed, &failed](store::Transaction& transaction) {
        for (const std::string& key : removed) {
            store::forgetObject(transaction, key);
        }
        for (const std::string& key : failed) {
            store::postponeObject(transaction, key, clock_.nowMs());
        }
    });
    if (failure) {
        std::rethrow_exception(failure);
    }
    return removed.size();
}

} // namespace kelvo::chunks
