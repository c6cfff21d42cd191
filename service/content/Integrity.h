// The known conditions of the contents on disk.
#pragma once

#include "service/content/DigestLocks.h"
#include "service/content/FileStamp.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace kelvo::content {

enum class ECondition : std::uint8_t {
    Unknown,    // not read yet, or not lately
    Intact,     // the digest of the bytes is right
    Damaged,    // the digest of the bytes is wrong
    Unreadable, // a read failed, or the file is too short; never stored, because the next read may
                // succeed
};

/**
 * Stores the conditions of contents, so that not every range request reads the whole content. An
 * intact content is checked again after an hour. A damaged content stays damaged until its file is
 * replaced. Thread safe. Bounded: beyond `capacity` an arbitrary entry is dropped, and the content
 * is read again when needed.
 */
class Integrity
{
public:
    ECondition conditionOf(const std::string& sha256, const FileStamp& stamp,
                           std::int64_t nowMs) const;

    void put(const std::string& sha256, const FileStamp& stamp, ECondition condition,
             std::int64_t nowMs);

    /**
     * Hold the lock while reading a whole content. A peer that repeats its request on a bad link
     * then waits for the first read instead of starting more reads.
     */
    Async<std::unique_ptr<DigestLocks::Guard>> readLock(const std::string& sha256)
    {
        return readLocks_.lock(sha256);
    }

    /** Call if an answer was refused or cut because its content is damaged, missing or unreadable.
     */
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

    DigestLocks readLocks_;
    mutable std::mutex mutex_; // guards findings_
    std::map<std::string, Finding> findings_;
    std::atomic<std::uint64_t> damagedReads_{0};
};

} // namespace kelvo::content
