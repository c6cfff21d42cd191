// The contents as chunks in an object store, with their rows in the database.
#pragma once

#include "service/base/Clock.h"
#include "service/content/Contents.h"
#include "service/objects/Bucket.h"
#include "service/store/Database.h"

#include <atomic>
#include <cstddef>
#include <string>
#include <vector>

namespace kelvo::chunks {

/**
 * Each chunk is an object under a random key. An object is never overwritten. Rows, and not a list
 * of objects, say which objects exist. The key's row is committed before the object is written, so
 * a crash leaves no unknown object.
 *
 * The newest receiver of an upload holds it. An older receiver fails with Superseded, also in
 * another process. Readers check each chunk against its SHA-256 and fetch only the chunks that they
 * need. Memory: two chunks for each receiver, one for each reader. References outlive it.
 */
class ChunkedContents final : public content::Contents
{
public:
    /** Makes the tables if they are missing. `chunkBytes`: from 1 to objects::largestObjectBytes.
     */
    ChunkedContents(store::Database& database, objects::Bucket& bucket, const Clock& clock,
                    std::size_t chunkBytes = objects::largestObjectBytes);

    std::uint64_t receiverMemory(long long sizeBytes) const override;
    std::uint64_t readerMemory(long long sizeBytes) const override;
    std::uint64_t keptBytes(const std::string& upload) override;
    std::unique_ptr<content::Receiver> receive(const std::string& upload) override;

    /** The disk of this machine holds no bytes of uploads. */
    void requireRoom(long long) override {}

    std::unique_ptr<content::Reader> openUpload(const std::string& upload) override;
    void removeUpload(const std::string& upload) override;
    std::unique_ptr<content::Reader> open(const std::string& sha256) override;

    /** The transaction does nothing if a file uses the content, so no lock is needed. */
    void remove(const std::string& sha256) override;

    /**
     * Removes objects that no upload or content has used for a day. Returns their number. An object
     * that cannot be removed is tried again after a day. If three objects in a row cannot be
     * removed, throws their error, and the next call continues.
     */
    std::size_t removeDoomedObjects();

    /** The removals that failed since the start. */
    std::uint64_t failedRemovals() const { return failedRemovals_; }

private:
    std::size_t removeObjects(const std::vector<std::string>& keys);

    store::Database& database_;
    objects::Bucket& bucket_;
    const Clock& clock_;
    std::size_t chunkBytes_;
    std::atomic<std::uint64_t> failedRemovals_{0};
};

} // namespace kelvo::chunks
