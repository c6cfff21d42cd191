// The folders of unfinished uploads and of contents.
#pragma once

#include "service/base/DiskReserve.h"
#include "service/base/Files.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace kelvo::content {

/**
 * `uploads/<id>` grows while bytes arrive. `content/<aa>/<sha256>` is complete, synced and never
 * changes. Equal contents are stored once.
 *
 * Thread: any; all functions block, so call them on a pool. Errors: std::system_error. Durability:
 * an adopted content survives a power failure.
 */
class ContentStore
{
public:
    /** Creates missing folders. Uploads may write while `reserve`, if there is one, is whole. */
    explicit ContentStore(const std::filesystem::path& dataFolder,
                          const DiskReserve* reserve = nullptr);

    /** Throws as DiskReserve::requireWhole(). */
    void requireReserve() const;

    /** Opens the upload for reading and writing; creates it if it is missing. */
    FileDescriptor openUpload(const std::string& id) const;

    /** Opens an existing upload for reading. */
    FileDescriptor openReceived(const std::string& id) const;

    /** 0 if the upload is missing. */
    std::uint64_t uploadSize(const std::string& id) const;

    void removeUpload(const std::string& id) const;

    /** Removes an upload whose bytes may not be on the disk, as far as possible. Never throws. */
    void discardUpload(const std::string& id) const noexcept;

    /**
     * Makes a content of a synced upload. If this cannot be made durable, the new content is
     * removed again (an old content stays). Returns false if the content existed already. The
     * upload's file then replaces its file, because the old bytes may be damaged. The upload stays
     * until removeUpload(). Hold the digest's lock (DigestLocks) from before this call until its
     * reference is committed.
     */
    bool adopt(const std::string& id, const std::string& sha256) const;

    /** Turns an adopted content into the upload again, if its reference could not be committed. */
    void revertToUpload(const std::string& id, const std::string& sha256) const;

    FileDescriptor open(const std::string& sha256) const;

    /** Removes a content without references. Hold its lock. */
    void remove(const std::string& sha256) const;

    /** The times of a content's file. */
    struct FileTimes
    {
        std::int64_t writtenMs = 0;                // by the system's clock, like all file times
        std::optional<std::int64_t> unusedSinceMs; // the time of markUnused()
    };

    /** Empty if the content is missing. */
    std::optional<FileTimes> fileTimesOf(const std::string& sha256) const;

    /**
     * Sets or clears the mark that the content has no reference. Hold its lock. The mark is the
     * file's mode: it survives the process, and does no harm if the content is used.
     */
    void markUnused(const std::string& sha256, bool isUnused) const;

    /** The time of the last write to the upload's file. Empty if the upload is missing. */
    std::optional<std::int64_t> uploadChangedMs(const std::string& id) const;

    /** The folder of all contents. It exists. */
    const std::filesystem::path& contentsFolder() const { return contents_; }

    /** The path of a content, which may be missing. */
    std::filesystem::path contentPath(const std::string& sha256) const;

    std::vector<std::string> uploadIds() const;
    std::vector<std::string> digests() const;

private:
    bool renew(const std::string& id, const std::filesystem::path& target) const;

    std::filesystem::path contents_;
    std::filesystem::path uploads_;
    const DiskReserve* reserve_;
};

} // namespace kelvo::content
