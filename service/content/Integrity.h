// What is known of the contents on disk: which were read and found right, and which were not.
#pragma once

#include "service/base/Files.h"
#include "service/content/DigestLocks.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace kelvo::content {

enum class ECondition : std::uint8_t { Unknown, Right, Damaged };

/** Which file it was, and in which state, as far as the file system tells. Whoever writes to it
 * changes that; a disk that forgets a bit does not. */
struct FileStamp
{
    std::uint64_t device = 0;
    std::uint64_t node = 0;
    std::int64_t sizeBytes = 0;
    std::int64_t modifiedNs = 0;
    std::int64_t changedNs = 0;

    bool operator==(const FileStamp&) const = default;
};

/** Throws std::system_error. */
FileStamp stampOf(int fd);

/** The SHA-256 of a whole file in hexadecimal. Blocks. Throws std::system_error. */
std::string digestOf(int fd);

/**
 * Remembers how contents were found, so that not every range costs the reading of the whole. What
 * was right is looked at again after an hour; what was damaged stays so until the file is another.
 * Thread safe. Bounded: beyond `capacity` any is forgotten, and read again when needed.
 */
class Integrity
{
public:
    ECondition conditionOf(const std::string& sha256, const FileStamp& stamp,
                           std::int64_t nowMs) const;

    void put(const std::string& sha256, const FileStamp& stamp, ECondition condition,
             std::int64_t nowMs);

    /** To be held by who reads a content through, so that a peer that asks again and again, on a
     * link that cuts, waits for the first reading instead of causing more. */
    Async<std::unique_ptr<DigestLocks::Guard>> turn(const std::string& sha256)
    {
        return turns_.lock(sha256);
    }

    /** A reply was refused or cut because its content is damaged, missing or unreadable. */
    void countDamaged() { ++damagedReads_; }
    std::uint64_t damagedReads() const { return damagedReads_; }

private:
    struct Finding
    {
        FileStamp stamp;
        ECondition condition = ECondition::Unknown;
        std::int64_t foundMs = 0;
    };

    static constexpr std::size_t capacity = 4096;

    DigestLocks turns_;
    mutable std::mutex mutex_; // guards findings_
    std::map<std::string, Finding> findings_;
    std::atomic<std::uint64_t> damagedReads_{0};
};

} // namespace kelvo::content
