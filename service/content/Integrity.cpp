// What is known of the contents on disk.
#include "service/content/Integrity.h"

#include "service/base/Digest.h"

#include <cerrno>
#include <memory>

#include <sys/stat.h>
#include <unistd.h>

namespace kelvo::content {

namespace {

constexpr std::int64_t rightForMs = 3600 * 1000;
constexpr std::size_t readChunkBytes = 256 * 1024;

std::int64_t inNs(const timespec& time)
{
    return static_cast<std::int64_t>(time.tv_sec) * 1000000000 + time.tv_nsec;
}

} // namespace

FileStamp stampOf(int fd)
{
    struct stat status
    {};
    if (::fstat(fd, &status) != 0) {
        throwErrno("fstat");
    }
    return {status.st_dev, status.st_ino, status.st_size, inNs(status.st_mtim),
            inNs(status.st_ctim)};
}

std::string digestOf(int fd)
{
    Sha256 digest;
    const auto buffer = std::make_unique<char[]>(readChunkBytes);
    for (off_t offset = 0;;) {
        const ssize_t got = ::pread(fd, buffer.get(), readChunkBytes, offset);
        if (got < 0 && errno != EINTR) {
            throwErrno("pread");
        }
        if (got == 0) {
            return digest.finishHex();
        }
        if (got > 0) {
            digest.add(buffer.get(), static_cast<std::size_t>(got));
            offset += got;
        }
    }
}

ECondition Integrity::conditionOf(const std::string& sha256, const FileStamp& stamp,
                                  std::int64_t nowMs) const
{
    const std::lock_guard lock(mutex_);
    const auto found = findings_.find(sha256);
    if (found == findings_.end() || !(found->second.stamp == stamp)) {
        return ECondition::Unknown;
    }
    const Finding& finding = found->second;
    const bool isFresh = nowMs >= finding.foundMs && nowMs - finding.foundMs < rightForMs;
    return finding.condition == ECondition::Right && !isFresh ? ECondition::Unknown
                                                              : finding.condition;
}

void Integrity::put(const std::string& sha256, const FileStamp& stamp, ECondition condition,
                    std::int64_t nowMs)
{
    const std::lock_guard lock(mutex_);
    if (findings_.size() >= capacity && !findings_.contains(sha256)) {
        findings_.erase(findings_.begin()); // any: digests are as good as random
    }
    findings_.insert_or_assign(sha256, Finding{stamp, condition, nowMs});
}

} // namespace kelvo::content
