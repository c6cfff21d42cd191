// Writes an upload's bytes to disk and updates their digest.
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
 * The digests of the received parts of unfinished uploads, so that a resumed upload need not be
 * read again. Only a cache: a missing digest is computed from the file. Thread safe.
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
 * One upload that is being received. Thread: one at a time; all functions block, so call them on a
 * pool. Errors: std::system_error, with ENOSPC if the disk is full or its reserve is in use.
 * Earlier bytes stay, except after a failed sync().
 */
class UploadWriter
{
public:
    /** Reads the existing bytes to continue their digest, unless the cache has the digest. */
    UploadWriter(const ContentStore& store, DigestCache& cache, const std::string& id);

    std::uint64_t offset() const { return offset_; }

    void append(const void* data, std::size_t sizeBytes);

    /**
     * Waits until all written bytes are on the disk. If it fails, the upload restarts at 0: its
     * file is removed, and the writer may only be destroyed.
     */
    void sync();

    /** Stores the digest in the cache for the next part. */
    void suspend();

    /** Returns the digest of the whole upload. */
    std::string finish();

private:
    void digestExisting();

    const ContentStore& store_;
    DigestCache& cache_;
    std::string id_;
    FileDescriptor file_;
    Sha256 digest_;
    std::uint64_t offset_ = 0;
    std::uint64_t flushedTo_ = 0; // the kernel was asked to write the bytes up to here
};

} // namespace kelvo::content
