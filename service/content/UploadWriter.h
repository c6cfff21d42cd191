// Writes an upload's bytes to disk and keeps their digest up to date.
#pragma once

#include "service/base/Digest.h"
#include "service/content/ContentStore.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace kelvo::content {

/**
 * Digests of unfinished uploads so far, so that a resumed one need not be read again.
 * Only a shortcut: what is missing here is computed from the file. Thread safe.
 */
class DigestCache
{
public:
    struct Entry
    {
        Sha256 digest;
        std::uint64_t offset = 0;
    };

    void put(const std::string& id, Entry entry);
    std::optional<Entry> take(const std::string& id);

private:
    static constexpr std::size_t capacity = 64;

    std::mutex mutex_; // guards entries_
    std::map<std::string, Entry> entries_;
};

/**
 * One upload being received.
 * Thread: one at a time; everything blocks, so call it on a pool.
 * Errors: std::system_error, with ENOSPC when the disk is full; what was written before stays, but
 * for a failed sync().
 */
class UploadWriter
{
public:
    /** Reads what is there already to continue its digest, unless the cache knows it. */
    UploadWriter(const ContentStore& store, DigestCache& cache, const std::string& id);

    std::uint64_t offset() const { return offset_; }

    void append(const void* data, std::size_t sizeBytes);

    /**
     * Waits until everything written is on the disk. When it fails the upload begins anew: its file
     * is gone, and the writer may only be dropped.
     */
    void sync();

    /** Puts the digest aside for the next part. */
    void suspend();

    /** The digest of the whole. */
    std::string finish();

private:
    void digestExisting();

    const ContentStore& store_;
    DigestCache& cache_;
    std::string id_;
    FileDescriptor file_;
    Sha256 digest_;
    std::uint64_t offset_ = 0;
    std::uint64_t flushedTo_ = 0; // up to here the kernel has been asked to start writing
};

} // namespace kelvo::content
