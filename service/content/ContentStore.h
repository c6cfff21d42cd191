// The folders that hold uploads under way and finished contents.
#pragma once

#include "service/base/Files.h"

#include <cstdint>
#include <filesystem>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace kelvo::content {

/**
 * `uploads/<id>` grows while bytes arrive; `content/<aa>/<sha256>` is complete, synced and never
 * changes. Equal contents are kept once.
 *
 * Thread: any; everything blocks, so call it on a pool.
 * Errors: std::system_error.
 * Durability: what adopt() returned from survives a power failure.
 */
class ContentStore
{
public:
    /** Makes the folders if need be. */
    explicit ContentStore(const std::filesystem::path& dataFolder);

    /** For reading and writing; made when it is not there. */
    FileDescriptor openUpload(const std::string& id) const;

    /** 0 when it is not there. */
    std::uint64_t uploadSize(const std::string& id) const;

    void removeUpload(const std::string& id) const;

    /** Removes an upload whose bytes may not be on the disk, as well as can be. Never throws. */
    void disownUpload(const std::string& id) const noexcept;

    /**
     * Makes a synced upload a content. When that cannot be made durable neither is there any more
     * (or the content that was there before is). False if that content was there already: then its
     * bytes are the upload's from now on, for the older ones may have gone bad unseen, and the
     * upload stays until removeUpload(). Hold the digest's lock (DigestLocks) from before this call
     * until its reference is committed.
     */
    bool adopt(const std::string& id, const std::string& sha256) const;

    /** Takes an adopted content back, when its reference could not be committed. */
    void giveBack(const std::string& id, const std::string& sha256) const;

    FileDescriptor open(const std::string& sha256) const;

    /** For a content that nothing refers to, under its lock. */
    void remove(const std::string& sha256) const;

    /** What a content's file tells of it. */
    struct Trace
    {
        std::int64_t writtenMs = 0;                // by the system's clock, as all times of files
        std::optional<std::int64_t> unusedSinceMs; // when markUnused() was called
    };

    /** Nothing if it is not there. */
    std::optional<Trace> traceOf(const std::string& sha256) const;

    /** Remembers, or forgets, that nothing refers to it, under its lock. The mark is in the file's
     * mode: it outlives the process and does no harm where the content is used after all. */
    void markUnused(const std::string& sha256, bool isUnused) const;

    /** When the upload's file was last written to; nothing if it is not there. */
    std::optional<std::int64_t> uploadChangedMs(const std::string& id) const;

    /** Where a content is or would be. */
    std::filesystem::path contentPath(const std::string& sha256) const;

    std::vector<std::string> uploadIds() const;
    std::vector<std::string> digests() const;

private:
    bool renew(const std::string& id, const std::filesystem::path& target) const;
    void ensureFolder(const std::filesystem::path& folder) const;

    std::filesystem::path contents_;
    std::filesystem::path uploads_;
    mutable std::mutex mutex_;              // guards durable_
    mutable std::set<std::string> durable_; // folders of contents whose names are on the disk
};

} // namespace kelvo::content
